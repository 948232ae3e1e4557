// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

}  // namespace quillbox
