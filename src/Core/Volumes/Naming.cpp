// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Volumes/VolumePath.h"
#include "Core/Volumes/iPodDevice.h"

namespace quillbox {

std::string iPodDevice::mountDiskName() {
    currentMountDiskName_.reset();
    std::string candidate;
    if (isUseCustomizeMountName_) {
        candidate = platform_.preferences.stringForKey(setting_customizeMountName).value_or("");
    }
    if (candidate.empty()) {
        candidate = deviceName();
    }
    const std::string path =
        createNewFolder(volumePath(platform_.files.volumesFolder(), candidate));
    currentMountDiskName_ = lastPathComponent(path);
    return *currentMountDiskName_;
}

std::string iPodDevice::createNewFolder(const std::string& path) const {
    return firstFreePath(path, [&files = platform_.files](const std::string& candidate) {
        return files.fileExistsAtPath(candidate);
    });
}

std::optional<std::string> iPodDevice::mountDiskIconPath() const {
    return platform_.bundle.pathForResource("QuillboxIcon", "icns");
}

bool iPodDevice::needsLocalOption() const {
    return platform_.bundle.operatingSystemVersionString().find("10.4") == std::string::npos;
}

}  // namespace quillbox
