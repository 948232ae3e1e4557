// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/PreferencesController.h"

#include "Core/Settings/FirstRunDefaults.h"
#include "Core/Volumes/CommonData.h"

namespace quillbox {

void PreferencesController::setDefaultPrefsIfFirstRun() {
    const Platform& platform = CommonData::sharedInstance().platform();
    quillbox::setDefaultPrefsIfFirstRun(platform.preferences, platform.loginItems, platform.bundle,
                                        platform.log);
}

}  // namespace quillbox
