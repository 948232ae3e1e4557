// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Shell/PodController.h"

#include "Core/Platform/LogLine.h"
#include "Core/Settings/LoginItem.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Shell/manzana.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/iPodDevice.h"
#include "Core/Windows/PreferencesController.h"

namespace quillbox {

PodController* g_GlobalPodController = nullptr;

namespace {

const Platform& platform() {
    return CommonData::sharedInstance().platform();
}

/// Three fixed items, then the place of the devices.
std::shared_ptr<Menu> makeTopMenu() {
    auto menu = std::make_shared<Menu>();
    menu->setAutoenablesItems(false);
    for (const char* title : {"About Quillbox", "Preferences…"}) {
        auto item = std::make_shared<MenuItem>(title);
        item->setEnabled(false);
        menu->addItem(std::move(item));
    }
    menu->addItem(MenuItem::separatorItem());
    menu->addItem(CommonData::makePlaceholderItem());
    return menu;
}

}  // namespace

PodController::PodController(StatusItemMaker makeStatusItem)
    : notifications_(platform().notifications),
      makeStatusItem_(std::move(makeStatusItem)),
      topMenu_(makeTopMenu()) {
    g_GlobalPodController = this;
}

PodController::~PodController() {
    notifications_.removeObserver(this);
    if (g_GlobalPodController == this) {
        g_GlobalPodController = nullptr;
    }
}

void PodController::awakeFromNib() {
    auto& common = CommonData::sharedInstance();
    PreferencesController::setDefaultPrefsIfFirstRun();
    common.setTopMenu(topMenu_);
    if (makeStatusItem_) {
        statusItem_ = makeStatusItem_(topMenu_);
    }
    if (statusItem_) {
        statusItem_->setImage(Image{"16x16off", {}});
    }
    common.setStatusItem(statusItem_);
    manzana::initIPhoneListener();
}

void PodController::applicationWillTerminate() {
    logLine(platform().log, LogLevel::Info, "applicationWillTerminate");
    iPodDevice::removeAllConnectedDevice();
    if (const auto path = platform().preferences.stringForKey(kTempDirectoryKey)) {
        platform().files.removeItemAtPath(*path);
    }
}

bool PodController::isStartupItem() {
    return quillbox::isStartupItem(platform().loginItems, platform().bundle);
}

void PodController::setStartupItem(bool isStartup) {
    quillbox::setStartupItem(isStartup, platform().loginItems, platform().bundle, platform().log);
}

}  // namespace quillbox
