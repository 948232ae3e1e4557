// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Settings/CachedFlags.h"

#include "Core/Platform/Preferences.h"
#include "Core/Settings/SettingsKeys.h"

namespace quillbox {

std::atomic<bool> isShowAppIconWhenMounted_{false};
std::atomic<bool> isShowWelcomeController_{false};
std::atomic<bool> isOnlyShowFileSharingApp_{false};
std::atomic<std::int64_t> appMountPathIndex_{0};
std::atomic<bool> isLoadAppsIconBeforeStart_{false};
std::atomic<bool> isMountLastPoint_{false};
std::atomic<bool> isUseCustomizeMountName_{false};

void loadCachedFlags(const Preferences& preferences) {
    isShowAppIconWhenMounted_ = preferences.boolForKey(setting_isShowAppIconWhenMounted);
    isShowWelcomeController_ = preferences.boolForKey(setting_showWelcomeScreenOnStart);
    isOnlyShowFileSharingApp_ = preferences.boolForKey(setting_isOnlyShowFileSharingApp);
    appMountPathIndex_ = preferences.integerForKey(setting_appMountPathIndex);
    isLoadAppsIconBeforeStart_ = preferences.boolForKey(setting_isLoadAppsIconBeforeStart);
    isMountLastPoint_ = preferences.boolForKey(setting_isMountLastPoint);
    isUseCustomizeMountName_ = preferences.boolForKey(setting_isUseCustomizeMountName);
}

void setCachedFlagsToDefaults() {
    isShowWelcomeController_ = true;
    isOnlyShowFileSharingApp_ = false;
    isLoadAppsIconBeforeStart_ = false;
    appMountPathIndex_ = 0;
    isShowAppIconWhenMounted_ = true;
    isMountLastPoint_ = true;
    isUseCustomizeMountName_ = false;
}

void clearCachedFlags() {
    isShowAppIconWhenMounted_ = false;
    isShowWelcomeController_ = false;
    isOnlyShowFileSharingApp_ = false;
    appMountPathIndex_ = 0;
    isLoadAppsIconBeforeStart_ = false;
    isMountLastPoint_ = false;
    isUseCustomizeMountName_ = false;
}

}  // namespace quillbox
