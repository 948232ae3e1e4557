// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Settings/FirstRunDefaults.h"

#include "Core/Platform/Preferences.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Settings/LoginItem.h"
#include "Core/Settings/SettingsKeys.h"

namespace quillbox {

namespace {

void writeFirstRunSettings(Preferences& preferences, LoginItems& loginItems, const Bundle& bundle,
                           Log& log) {
    preferences.setObject(setting_isAfterFirstRun, true);
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
    preferences.setObject(setting_isMountLastPoint, isMountLastPoint_.load());
    preferences.setObject(setting_isUseCustomizeMountName, isUseCustomizeMountName_.load());
    preferences.setObject(setting_customizeMountName, "Quillbox");
    preferences.setObject(setting_mountDiskMode, 0);
}

}  // namespace

void setDefaultPrefsIfFirstRun(Preferences& preferences, LoginItems& loginItems,
                               const Bundle& bundle, Log& log) {
    if (preferences.objectForKey(setting_isAfterFirstRun)) {
        loadCachedFlags(preferences);
    } else {
        writeFirstRunSettings(preferences, loginItems, bundle, log);
    }
    preferences.synchronize();
}

}  // namespace quillbox
