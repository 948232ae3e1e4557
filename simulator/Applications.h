// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PropertyList.h"

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::simulator {

/// An installed application.
struct Application {
    std::string identifier;                  ///< "org.example.sketches"
    std::string type = "User";               ///< or "System"
    std::optional<std::string> displayName;  ///< the name under the icon, where it declares one
    std::optional<std::string> iconFile;     ///< the name of its icon file, where it declares one
    std::optional<bool> fileSharing;         ///< whether it shares its documents, where it says so
    bool developerSigned = false;            ///< its whole container is vended on every device
    bool homeScreenPicture = true;           ///< the home screen has a picture of it

    /// What the installation service tells about it.
    [[nodiscard]] PropertyList attributes(const std::filesystem::path& container) const;
};

/// The applications of a device. Thread-safe.
class Applications {
public:
    /// `folder` holds one container for each user application.
    explicit Applications(std::filesystem::path folder) : folder_{std::move(folder)} {}

    /// Installs an application, in place of one with the same identifier. Makes the container of a
    /// user application, with the folders that every container has.
    void install(Application application);

    /// Removes it from the list; its container stays.
    bool uninstall(const std::string& identifier);

    [[nodiscard]] std::vector<Application> all() const;
    [[nodiscard]] std::optional<Application> find(const std::string& identifier) const;
    [[nodiscard]] std::filesystem::path container(const std::string& identifier) const;

private:
    const std::filesystem::path folder_;
    mutable std::mutex mutex_;
    std::vector<Application> applications_;
};

/// Whether an identifier can be a folder's name: letters, digits, dots, hyphens, not empty and not
/// beginning with a dot.
[[nodiscard]] bool isApplicationIdentifier(std::string_view identifier);

}  // namespace quillbox::simulator
