// SPDX-License-Identifier: GPL-3.0-or-later
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

class MenuTest : public DeviceTest {
protected:
    static void choose(const std::shared_ptr<MenuItem>& item) { item->action()(*item); }
};

TEST_F(MenuTest, TheDevicesItemTakesThePlaceOfThePlaceholder) {
    attach(world.device);
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Blue Phone"}));
}

TEST_F(MenuTest, TheDeviceThatArrivedLastStandsFirst) {
    attach(world.device);
    attach(second);
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Red Phone", "Blue Phone"}));
}

TEST_F(MenuTest, TheSubmenuHoldsEightItemsInOrder) {
    const auto device = attach(world.device);
    const auto& menu = *device->mi_deviceMenu()->submenu();
    EXPECT_EQ(menu.title(), "Blue Phone");
    EXPECT_FALSE(menu.autoenablesItems());
    Texts all;
    for (const auto& item : menu.items()) {
        all.push_back(item->isSeparator() ? "-" : item->title());
        EXPECT_EQ(item->keyEquivalent(), "");
    }
    EXPECT_EQ(all,
              (Texts{"Reveal In Finder", "Change Connection Root", "Mount Device", "Unmount Device",
                     "Device Info", "-", "Current Connection Root:", "Media"}));
    EXPECT_EQ(menu.items().at(7), device->submi_selectMenuItem());
}

TEST_F(MenuTest, TheItemsStartWithTheirStates) {
    const auto device = attach(world.device);
    EXPECT_TRUE(device->mi_deviceMenu()->isEnabled());
    EXPECT_FALSE(device->mi_deviceMenu()->action());
    EXPECT_EQ(enabled(*device), (Texts{"Change Connection Root", "Mount Device", "Device Info"}));
    const auto& items = device->mi_deviceMenu()->submenu()->items();
    EXPECT_FALSE(items.at(6)->isEnabled());
    EXPECT_TRUE(device->submi_selectMenuItem()->state());
    EXPECT_TRUE(device->submi_selectMenuItem()->isEnabled());
}

TEST_F(MenuTest, TheDeviceIsTheTargetOfItsActions) {
    const auto device = attach(world.device);
    for (const auto& item :
         {device->submi_revealInFinder(), device->submi_startMount(), device->submi_stopMount(),
          device->submi_aboutThisDevice(), device->submi_selectMenuItem()}) {
        EXPECT_EQ(item->target(), device.get());
        EXPECT_TRUE(item->action());
    }
    EXPECT_EQ(device->submi_connectionRoot()->target(), nullptr);
    EXPECT_FALSE(device->submi_connectionRoot()->action());
}

TEST_F(MenuTest, MountingAndUnmountingFromTheMenu) {
    const auto device = attach(world.device);
    choose(device->submi_startMount());
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_TRUE(device->isMounted());
    choose(device->submi_stopMount());
    EXPECT_FALSE(device->isMounted());
}

TEST_F(MenuTest, RevealingShowsOnlyAMountedVolume) {
    const auto device = attach(world.device);
    world.log.take();
    choose(device->submi_revealInFinder());
    EXPECT_TRUE(world.workspace.opened.empty());
    EXPECT_EQ(world.log.take(), (Texts{"revealInFinder"}));
    device->startMount();
    world.fileSystems.finishMount(world.fileSystems.last());
    choose(device->submi_revealInFinder());
    choose(device->submi_selectMenuItem());
    EXPECT_EQ(world.workspace.opened,
              (Texts{"/Volumes/Blue Phone (Media)", "/Volumes/Blue Phone (Media)"}));
}

TEST_F(MenuTest, DeviceInfoShowsTheWindowOfThisDevice) {
    const auto device = attach(world.device);
    choose(device->submi_aboutThisDevice());
    EXPECT_EQ(window.shown, (std::vector<const iPodDevice*>{device.get()}));
    CommonData::sharedInstance().setDeviceInformationWindow(nullptr);
    choose(device->submi_aboutThisDevice());
    EXPECT_EQ(window.shown.size(), 1U);
}

TEST_F(MenuTest, ADeviceWithoutNameIsShownAsNotAvailable) {
    world.device.values.erase("DeviceName");
    EXPECT_EQ(attach(world.device)->mi_deviceMenu()->title(), "Not available");
}

TEST_F(MenuTest, ItemsThatOutliveTheirDeviceDoNothing) {
    auto device = attach(world.device);
    const auto item = device->submi_startMount();
    device.reset();
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    choose(item);
    EXPECT_TRUE(world.fileSystems.volumes().empty());
}

TEST_F(MenuTest, ItemsOfADeviceThatHasLeftDoNothing) {
    const auto device = attachAndMount(world.device);
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    choose(device->submi_startMount());
    EXPECT_EQ(world.fileSystems.volumes().size(), 1U);
    EXPECT_EQ(device->gmUserFileSys(), nullptr);
}

TEST_F(MenuTest, WithoutATopMenuADeviceIsMadeAllTheSame) {
    CommonData::sharedInstance().setTopMenu(nullptr);
    const auto device = attach(world.device);
    EXPECT_TRUE(device->mi_deviceMenu());
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    EXPECT_TRUE(CommonData::sharedInstance().md_connectedDevices()->empty());
}

}  // namespace
}  // namespace quillbox::fakes
