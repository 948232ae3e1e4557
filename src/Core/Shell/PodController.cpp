// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Shell/PodController.h"

#include "Core/Platform/LogLine.h"
#include "Core/Settings/LoginItem.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Shell/manzana.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/iPodDevice.h"
#include "Core/Windows/AboutThisApp.h"
#include "Core/Windows/AllWindows.h"
#include "Core/Windows/PreferencesController.h"
#include "Core/Windows/WelcomeController.h"

namespace quillbox {

PodController* g_GlobalPodController = nullptr;

namespace {

const Platform& platform() {
    return CommonData::sharedInstance().platform();
}

}  // namespace

PodController::PodController() : notifications_(platform().notifications), topMenu_(makeTopMenu()) {
    CommonData::sharedInstance().setDeviceInformationWindow(&deviceInformationWindow_);
    g_GlobalPodController = this;
}

PodController::~PodController() {
    notifications_.removeObserver(this);
    // A view may keep the menu for longer.
    for (const auto& item : topMenu_->items()) {
        if (item->target() == this) {
            item->setAction({});
        }
    }
    auto& common = CommonData::sharedInstance();
    if (common.deviceInformationWindow() == &deviceInformationWindow_) {
        common.setDeviceInformationWindow(nullptr);
        resetWindowControllers();
    }
    if (g_GlobalPodController == this) {
        g_GlobalPodController = nullptr;
    }
}

std::shared_ptr<Menu> PodController::makeTopMenu() {
    const auto make = [this](const char* title, Action action) {
        auto item = std::make_shared<MenuItem>(
            title, [this, action](MenuItem& sender) { (this->*action)(&sender); });
        item->setTarget(this);
        return item;
    };
    const auto quit = make("Quit", &PodController::quitApp);
    quit->setEndsProgram(true);
    auto menu = std::make_shared<Menu>();
    menu->setAutoenablesItems(false);
    for (const auto& item :
         {make("About Quillbox", &PodController::showAboutThisApp),
          make("Preferences…", &PodController::showPreferencesController),
          MenuItem::separatorItem(), CommonData::makePlaceholderItem(), MenuItem::separatorItem(),
          make("Welcome…", &PodController::showWelcomeScreen),
          make("Help", &PodController::openwHelp), quit}) {
        menu->addItem(item);
    }
    return menu;
}

void PodController::awakeFromNib() {
    auto& common = CommonData::sharedInstance();
    PreferencesController::setDefaultPrefsIfFirstRun();
    common.setTopMenu(topMenu_);
    StatusItemSettings settings;
    settings.image.resourceName = "16x16off";
    settings.highlightMode = true;
    settings.isEnabled = true;
    settings.menu = topMenu_;
    statusItem_ = platform().statusBar.makeStatusItem(settings);
    common.setStatusItem(statusItem_);
    if (platform().preferences.boolForKey(setting_showWelcomeScreenOnStart)) {
        WelcomeController::displayWelcomeWindow();
    }
    manzana::initIPhoneListener();
}

void PodController::applicationDidFinishLaunching() {
    platform().crashReporter.checkForNewCrashes();
}

void PodController::applicationWillTerminate() {
    logLine(platform().log, LogLevel::Info, "applicationWillTerminate");
    iPodDevice::removeAllConnectedDevice();
    if (const auto path = platform().preferences.stringForKey(kTempDirectoryKey)) {
        platform().files.removeItemAtPath(*path);
    }
}

void PodController::showPreferencesController(const void* /*sender*/) {
    logLine(platform().log, LogLevel::Info, "showPreferencesController:");
    PreferencesController::sharedInstance().showPreferences();
}

void PodController::showAboutThisApp(const void* /*sender*/) {
    AboutThisApp::displayAboutThisApp();
}

void PodController::showWelcomeScreen(const void* /*sender*/) {
    WelcomeController::displayWelcomeWindow();
}

void PodController::openwHelp(const void* /*sender*/) {
    auto address = platform().preferences.stringForKey(kHelpAddressKey);
    if (!address) {
        address = platform().bundle.objectForInfoDictionaryKey(kHelpAddressInfoKey);
    }
    if (!address || address->empty()) {
        logLine(platform().log, LogLevel::Warning, "No address of a help page is known.");
        return;
    }
    platform().workspace.openURL(*address);
}

void PodController::quitApp(const void* /*sender*/) {
    platform().application.terminate();
}

bool PodController::isStartupItem() {
    return quillbox::isStartupItem(platform().loginItems, platform().bundle);
}

void PodController::setStartupItem(bool isStartup) {
    quillbox::setStartupItem(isStartup, platform().loginItems, platform().bundle, platform().log);
}

}  // namespace quillbox
