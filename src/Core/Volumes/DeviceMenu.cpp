// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/LogLine.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/DeviceInformationWindow.h"
#include "Core/Volumes/iPodDevice.h"

namespace quillbox {

// An open menu may outlive the device's stay, and a volume the device: an action then does nothing.
MenuItem::Action iPodDevice::action(void (*work)(iPodDevice&, MenuItem&)) {
    return [weak = weak_from_this(), work](MenuItem& sender) {
        if (const auto device = weak.lock(); device && !device->hasLeft_) {
            work(*device, sender);
        }
    };
}

std::shared_ptr<MenuItem> iPodDevice::makeItem(std::string title,
                                               void (*work)(iPodDevice&, MenuItem&)) {
    auto item = std::make_shared<MenuItem>(std::move(title), action(work));
    item->setTarget(this);
    return item;
}

void iPodDevice::addMenuForDevice() {
    const auto& topMenu = CommonData::sharedInstance().topMenu();
    if (topMenu) {
        topMenu->removeItem(topMenu->itemWithTitle(kPlaceholderTitle).get());
    }
    logLine(platform_.log, LogLevel::Info, "addMenuForDevice");
    const std::string name = deviceName();
    const auto reveal = [](iPodDevice& device, MenuItem&) { device.revealInFinder(); };

    mi_deviceMenu_ = std::make_shared<MenuItem>(name);
    mi_deviceMenu_->setTitleIsName(true);
    submi_revealInFinder_ = makeItem("Reveal In Finder", reveal);
    submi_connectionRoot_ = std::make_shared<MenuItem>("Change Connection Root");
    submi_startMount_ =
        makeItem("Mount Device", [](iPodDevice& device, MenuItem&) { device.mountDevice(); });
    submi_stopMount_ =
        makeItem("Unmount Device", [](iPodDevice& device, MenuItem&) { device.stopMount(); });
    submi_aboutThisDevice_ = makeItem("Device Info", [](iPodDevice& device, MenuItem& sender) {
        device.showAboutThisDevice(sender);
    });
    const auto heading = std::make_shared<MenuItem>("Current Connection Root:");
    heading->setEnabled(false);
    submi_selectMenuItem_ = makeItem("", reveal);
    submi_selectMenuItem_->setState(true);

    const auto submenu = std::make_shared<Menu>(name);
    for (const auto& item :
         {submi_revealInFinder_, submi_connectionRoot_, submi_startMount_, submi_stopMount_,
          submi_aboutThisDevice_, MenuItem::separatorItem(), heading, submi_selectMenuItem_}) {
        submenu->addItem(item);
    }
    submenu->setAutoenablesItems(false);
    mi_deviceMenu_->setSubmenu(submenu);
    updateChangeConnectionRootMenuItem();
    if (topMenu) {
        topMenu->insertItem(mi_deviceMenu_, kDeviceMenuIndex);
    }
    submi_startMount_->setEnabled(true);
    submi_stopMount_->setEnabled(false);
    submi_revealInFinder_->setEnabled(false);
}

void iPodDevice::revealInFinder() const {
    logLine(platform_.log, LogLevel::Info, "revealInFinder");
    if (isMounted_) {
        platform_.workspace.openFile(myMountPath_);
    }
}

void iPodDevice::showAboutThisDevice(MenuItem& /*sender*/) {
    if (auto* window = CommonData::sharedInstance().deviceInformationWindow()) {
        window->displayAboutThisDevice(*this);
    }
}

}  // namespace quillbox
