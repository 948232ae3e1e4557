// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Settings/FirstRunDefaults.h"

#include "Core/Platform/Preferences.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Settings/LoginItem.h"
#include "Core/Settings/SettingsKeys.h"

namespace quillbox {

namespace {

/// How a kept flag is stored: readers take either.
enum class FlagType { Bool, Integer };

void writeDefaultSettings(Preferences& preferences, LoginItems& loginItems, const Bundle& bundle,
                          Log& log, FlagType lastFlags) {
    const auto stored = [lastFlags](bool flag) {
        return lastFlags == FlagType::Bool ? PropertyValue(flag) : PropertyValue(flag ? 1 : 0);
    };
    preferences.setObject(setting_allowsAFC2Access, true);
    preferences.setObject(setting_changeNameOnCopyImages2DCIM, false);
    preferences.setObject(setting_showWelcomeScreenOnStart, true);
    preferences.setObject(setting_openQuillboxOnComputerStart, false);
    setStartupItem(false, loginItems, bundle, log);

    setCachedFlagsToDefaults();
    preferences.setObject(setting_isShowAppIconWhenMounted, isShowAppIconWhenMounted_.load());
    preferences.setObject(setting_isOnlyShowFileSharingApp, isOnlyShowFileSharingApp_.load());
    preferences.setObject(setting_isLoadAppsIconBeforeStart, isLoadAppsIconBeforeStart_.load());
    preferences.setObject(setting_appMountPathIndex, appMountPathIndex_.load());
    preferences.setObject(setting_isMountLastPoint, stored(isMountLastPoint_));
    preferences.setObject(setting_isUseCustomizeMountName, stored(isUseCustomizeMountName_));
    preferences.setObject(setting_customizeMountName, "Quillbox");
    preferences.setObject(setting_mountDiskMode, 0);
}

}  // namespace

void setDefaultPrefsIfFirstRun(Preferences& preferences, LoginItems& loginItems,
                               const Bundle& bundle, Log& log) {
    if (preferences.objectForKey(setting_isAfterFirstRun)) {
        loadCachedFlags(preferences);
    } else {
        preferences.setObject(setting_isAfterFirstRun, true);
        writeDefaultSettings(preferences, loginItems, bundle, log, FlagType::Bool);
    }
    preferences.synchronize();
}

void resetSettings(Preferences& preferences, LoginItems& loginItems, const Bundle& bundle,
                   Log& log) {
    writeDefaultSettings(preferences, loginItems, bundle, log, FlagType::Integer);
    preferences.synchronize();
}

}  // namespace quillbox
