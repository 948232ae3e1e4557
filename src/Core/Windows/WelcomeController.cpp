// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/WelcomeController.h"

#include "Core/Settings/SettingsKeys.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Windows/PreferencesController.h"

namespace quillbox {

namespace {

std::unique_ptr<WelcomeController> g_welcome;

}  // namespace

WelcomeController& WelcomeController::displayWelcomeWindow() {
    if (!g_welcome) {
        g_welcome = std::make_unique<WelcomeController>(Key{});
    }
    g_welcome->present();
    return *g_welcome;
}

void WelcomeController::resetSharedInstance() {
    g_welcome.reset();
}

WelcomeController::WelcomeController(Key /*key*/)
    : WindowController("Welcome"),
      chkBx_showMenuOnStart_(file().checkBox("chkBx_showMenuOnStart")),
      continueBtn_(file().button("continueBtn")) {
    using Self = WelcomeController;
    connect<Self>(*this, {{"chkBx_Changed:", &Self::chkBx_Changed},
                          {"hideAndContinue:", &Self::hideAndContinue},
                          {"chkBx_Preferences:", &Self::chkBx_Preferences},
                          {"chkBx_revealInFinder:", &Self::chkBx_revealInFinder},
                          {"resetUserDefaults:", &Self::resetUserDefaults}});
    awakeFromNib();
}

void WelcomeController::awakeFromNib() {
    chkBx_showMenuOnStart_.setState(
        platform().preferences.boolForKey(setting_showWelcomeScreenOnStart));
    continueBtn_.setTitle("Hide & Continue");
}

void WelcomeController::chkBx_Changed(const void* /*sender*/) {
    auto& preferences = platform().preferences;
    preferences.setObject(setting_showWelcomeScreenOnStart, chkBx_showMenuOnStart_.state());
    preferences.synchronize();
}

void WelcomeController::hideAndContinue(const void* sender) {
    window().performClose(sender);
}

void WelcomeController::chkBx_Preferences(const void* /*sender*/) {
    PreferencesController::sharedInstance().showPreferences();
}

void WelcomeController::chkBx_revealInFinder(const void* /*sender*/) {
    CommonData::sharedInstance().revealInFinder();
}

void WelcomeController::resetUserDefaults(const void* /*sender*/) {
    auto& preferences = platform().preferences;
    preferences.removeAllObjects();
    preferences.synchronize();
}

}  // namespace quillbox
