// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/LogLine.h"
#include "Core/Platform/PathText.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Volumes/VolumePath.h"
#include "Core/Volumes/iPodDevice.h"

namespace quillbox {

std::int32_t iPodDevice::selectedRootTag() const {
    return last_selectMenuItem_ ? last_selectMenuItem_->tag() : kRootTagNone;
}

/// The name that a device's volume has with a root; none for an application that is not listed.
std::optional<std::string> iPodDevice::rootName(const std::string& deviceName,
                                                std::int32_t tag) const {
    if (tag == kRootTagRoot) {
        return deviceName + " (Root)";
    }
    if (tag == kRootTagMedia) {
        return deviceName + " (Media)";
    }
    if (tag < kRootTagApplication) {
        return deviceName;
    }
    const auto session = iPhoneInterface();
    const AppCatalogue applications =
        session ? session->getUserAppBundlesArray(isOnlyShowFileSharingApp_) : AppCatalogue{};
    const auto index = static_cast<std::size_t>(tag - kRootTagApplication);
    if (index >= applications.size()) {
        return std::nullopt;
    }
    const auto* value = find(applications[index], "name");
    const std::string* name = value != nullptr ? value->string() : nullptr;
    return deviceName + " (" + (name != nullptr ? *name : "(null)") + ")";
}

std::string iPodDevice::mountDiskName() {
    currentMountDiskName_.reset();
    std::string candidate;
    if (isUseCustomizeMountName_) {
        candidate = platform_.preferences.stringForKey(setting_customizeMountName).value_or("");
    }
    if (candidate.empty()) {
        const std::string name = deviceName();
        const auto found = rootName(name, selectedRootTag());
        if (!found) {
            return name;
        }
        candidate = *found;
    }
    const std::string path =
        createNewFolder(volumePath(platform_.files.volumesFolder(), candidate));
    currentMountDiskName_ = lastPathComponent(path);
    return *currentMountDiskName_;
}

std::string iPodDevice::createNewFolder(const std::string& path) const {
    return firstFreePath(path, [this](const std::string& candidate) {
        return platform_.files.fileExistsAtPath(candidate);
    });
}

bool iPodDevice::needsLocalOption() const {
    return platform_.bundle.operatingSystemVersionString().find("10.4") == std::string::npos;
}

bool iPodDevice::createDirectoryAtPath(const std::string& path) const {
    if (const auto session = iPhoneInterface()) {
        return session->createDirectoryAtPath(path, {}, nullptr);
    }
    std::string error;
    if (!platform_.files.createDirectoryAtPath(path, &error)) {
        logLine(platform_.log, LogLevel::Error, "Error creating directory ", path,
                ";  error: ", error, "\n");
        return false;
    }
    return true;
}

}  // namespace quillbox
