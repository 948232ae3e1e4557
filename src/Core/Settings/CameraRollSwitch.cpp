// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Settings/CameraRollSwitch.h"

#include "Core/Platform/Preferences.h"
#include "Core/Settings/SettingsKeys.h"

namespace quillbox {

bool isChangeNameOnCopyImages2DCIM(const Preferences& preferences) {
    return preferences.boolForKey(setting_changeNameOnCopyImages2DCIM);
}

}  // namespace quillbox
