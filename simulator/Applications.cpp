// SPDX-License-Identifier: GPL-3.0-or-later
#include "Applications.h"

#include <algorithm>

namespace quillbox::simulator {

bool isApplicationIdentifier(std::string_view identifier) {
    return !identifier.empty() && identifier.front() != '.' && identifier.size() < 200 &&
           std::ranges::all_of(identifier, [](char character) {
               return (character >= 'a' && character <= 'z') ||
                      (character >= 'A' && character <= 'Z') ||
                      (character >= '0' && character <= '9') || character == '.' ||
                      character == '-';
           });
}

PropertyList Application::attributes(const std::filesystem::path& container) const {
    PropertyList all = PropertyList::dictionary();
    const std::string bareName = identifier.substr(identifier.rfind('.') + 1);
    all.setText("CFBundleIdentifier", identifier)
        .setText("ApplicationType", type)
        .setText("CFBundleExecutable", bareName)
        .setText("CFBundleName", bareName)
        .setText("CFBundleVersion", "1")
        .setText("CFBundleShortVersionString", "1.0")
        .setText("SignerIdentity", developerSigned ? "iPhone Developer" : "iPhone OS Application")
        .setText("Path", "/private/var/containers/Bundle/Application/" + bareName + ".app");
    if (type == "User") {
        all.setText("Container", container.filename().string());
    }
    if (displayName) {
        all.setText("CFBundleDisplayName", *displayName);
    }
    if (iconFile) {
        all.setText("CFBundleIconFile", *iconFile);
    }
    if (fileSharing) {
        all.setBoolean("UIFileSharingEnabled", *fileSharing);
    }
    return all;
}

void Applications::install(Application application) {
    if (application.type == "User") {
        for (const char* inner : {"Documents", "Library", "tmp"}) {
            std::filesystem::create_directories(container(application.identifier) / inner);
        }
    }
    const std::scoped_lock lock{mutex_};
    std::erase_if(applications_, [&](const Application& known) {
        return known.identifier == application.identifier;
    });
    applications_.push_back(std::move(application));
}

bool Applications::uninstall(const std::string& identifier) {
    const std::scoped_lock lock{mutex_};
    return std::erase_if(applications_, [&](const Application& known) {
               return known.identifier == identifier;
           }) != 0;
}

std::vector<Application> Applications::all() const {
    const std::scoped_lock lock{mutex_};
    return applications_;
}

std::optional<Application> Applications::find(const std::string& identifier) const {
    const std::scoped_lock lock{mutex_};
    const auto found = std::ranges::find(applications_, identifier, &Application::identifier);
    return found == applications_.end() ? std::nullopt : std::optional{*found};
}

std::filesystem::path Applications::container(const std::string& identifier) const {
    return folder_ / identifier;
}

}  // namespace quillbox::simulator
