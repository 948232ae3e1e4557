// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/AllWindows.h"

#include "Core/Windows/AboutThisApp.h"
#include "Core/Windows/AboutThisDevice.h"
#include "Core/Windows/PreferencesController.h"
#include "Core/Windows/WelcomeController.h"

namespace quillbox {

void resetWindowControllers() {
    AboutThisDevice::resetSharedInstance();
    AboutThisApp::resetSharedInstance();
    WelcomeController::resetSharedInstance();
    PreferencesController::resetSharedInstance();
}

}  // namespace quillbox
