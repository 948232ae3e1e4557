// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace quillbox {

/// Keys of the preference store. The texts are what stands on disk; some differ from the constant's
/// name and stay as they are.
inline constexpr std::string_view setting_isAfterFirstRun = "isAfterFirstRun";
inline constexpr std::string_view setting_allowsAFC2Access = "allowsAFC2Access";
inline constexpr std::string_view setting_changeNameOnCopyImages2DCIM =
    "changeNameOnCopyImages2DCIM";
inline constexpr std::string_view setting_showWelcomeScreenOnStart = "showWelcomeScreenOnStart";
inline constexpr std::string_view setting_openQuillboxOnComputerStart = "openQuillboxOnStart";
inline constexpr std::string_view setting_appMountPathIndex = "appMountPath";
inline constexpr std::string_view setting_isOnlyShowFileSharingApp = "isOnlyShowFileSharingApp";
inline constexpr std::string_view setting_isLoadAppsIconBeforeStart = "isLoadAppsIconBeforeStart";
inline constexpr std::string_view setting_isShowAppIconWhenMounted = "isShowAppIconWhenMounted";
inline constexpr std::string_view setting_isUseCustomizeMountName = "isUseCustomizeMountName";
inline constexpr std::string_view setting_customizeMountName = "customizeMountName";
inline constexpr std::string_view setting_mountDiskMode = "setting_mountDiskMode";
inline constexpr std::string_view setting_isMountLastPoint = "isMountLastPoint";
/// The one key of a device's own record, which stands under the device's unique identifier.
inline constexpr std::string_view setting_lastMountPoint_appBundle = "lastMountPoint_appBundle";
/// A file or folder that is removed at quit. Written by nobody; honoured where it is there.
inline constexpr std::string_view kTempDirectoryKey = "tempDirectory";

/// The address that Help opens in the place of the built-in one. Written by nobody; honoured where
/// it is there.
inline constexpr std::string_view kHelpAddressKey = "helpAddress";

/// Whether a key of the store is a setting's: device records stand beside the settings, under names
/// that devices choose.
inline bool isSettingsKey(std::string_view key) {
    constexpr std::array kKeys{setting_isAfterFirstRun,
                               setting_allowsAFC2Access,
                               setting_changeNameOnCopyImages2DCIM,
                               setting_showWelcomeScreenOnStart,
                               setting_openQuillboxOnComputerStart,
                               setting_appMountPathIndex,
                               setting_isOnlyShowFileSharingApp,
                               setting_isLoadAppsIconBeforeStart,
                               setting_isShowAppIconWhenMounted,
                               setting_isUseCustomizeMountName,
                               setting_customizeMountName,
                               setting_mountDiskMode,
                               setting_isMountLastPoint,
                               kTempDirectoryKey,
                               kHelpAddressKey};
    return std::find(kKeys.begin(), kKeys.end(), key) != kKeys.end();
}

}  // namespace quillbox
