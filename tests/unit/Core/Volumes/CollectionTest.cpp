// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Volumes/NotificationNames.h"
#include "Volumes/DeviceTest.h"

#include <stdexcept>

namespace quillbox::fakes {
namespace {

class CollectionTest : public DeviceTest {
protected:
    CommonData& common() { return CommonData::sharedInstance(); }
};

TEST_F(CollectionTest, TheSharedInstanceIsOneAndNeedsAPlatform) {
    EXPECT_EQ(&CommonData::sharedInstance(), &CommonData::sharedInstance());
    EXPECT_EQ(&common().platform(), &world.platform);
    CommonData::resetSharedInstance();
    EXPECT_THROW(CommonData::sharedInstance(), std::logic_error);
    CommonData::setPlatform(world.platform);
    EXPECT_TRUE(common().md_connectedDevices()->empty());
    EXPECT_EQ(common().topMenu(), nullptr);
}

TEST_F(CollectionTest, TheExtensionListsHoldTheirEntriesInOrder) {
    EXPECT_EQ(common().pictureTypes(),
              (Texts{".jpg", ".jpeg", ".gif", ".thm", ".bmp", ".tiff", ".png"}));
    EXPECT_EQ(common().videoTypes(),
              (Texts{".mp4", ".m4v", ".mov", ".dv", ".3gpp", ".3gpp2", ".mp1", ".avi"}));
    EXPECT_EQ(common().audioTypes(), (Texts{".mp3", ".m4p", ".caf", ".wav", ".au", ".midi", ".mid",
                                            ".m4b", ".m4a", ".snd", ".sd2", ".amr"}));
}

TEST_F(CollectionTest, TheNotificationNamesAreTheirOwnValues) {
    EXPECT_EQ(iPhoneDisconnectedNotification, "iPhoneDisconnectedNotification");
    EXPECT_EQ(attachedDeviceRemovedFromCollection, "attachedDeviceRemovedFromCollection");
    EXPECT_EQ(iPhoneConnectedNotification, "iPhoneConnectedNotification");
    EXPECT_EQ(deviceFinishedLaodingAndParsing, "deviceFinishedLaodingAndParsing");
}

TEST_F(CollectionTest, ThePlaceholderIsDisabledAndDoesNothing) {
    const auto item = CommonData::makePlaceholderItem();
    EXPECT_EQ(item->title(), "No iPhones Connected...");
    EXPECT_EQ(item->keyEquivalent(), "");
    EXPECT_FALSE(item->isEnabled());
    EXPECT_FALSE(item->action());
}

TEST_F(CollectionTest, RemovingTheLastDeviceBringsThePlaceholderBack) {
    const auto device = attachAndMount(world.device);
    world.log.take();
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    EXPECT_TRUE(common().md_connectedDevices()->empty());
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "No iPhones Connected..."}));
    EXPECT_FALSE(topMenu->items().at(3)->isEnabled());
    EXPECT_EQ(world.fileSystems.last().unmounts, 1);
    const auto& last = world.notifications.posted().back();
    EXPECT_EQ(last.name, "attachedDeviceRemovedFromCollection");
    EXPECT_EQ(last.object, device.get());
    const Texts lines = world.log.take();
    EXPECT_EQ(lines.front(), "removeConnectedDeviceFromCollection:SERIAL1");
    EXPECT_EQ(lines.at(1), "stopMount");
    EXPECT_EQ(lines.back(), "No iPhones Connected...");
}

TEST_F(CollectionTest, RemovingOneOfTwoLeavesTheOther) {
    attachAndMount(world.device);
    const auto red = attachAndMount(second);
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Red Phone"}));
    EXPECT_EQ(common().md_connectedDevices()->size(), 1U);
    EXPECT_TRUE(red->isMounted());
}

TEST_F(CollectionTest, ARemovedDeviceIsStillWholeForThoseWhoAreTold) {
    const auto device = attachAndMount(world.device);
    bool isWhole = false;
    const int observer = 0;
    world.notifications.addObserver(
        &observer, attachedDeviceRemovedFromCollection, [&](const Notification& notification) {
            isWhole = notification.object == device.get() && device->mi_deviceMenu() != nullptr;
        });
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    EXPECT_TRUE(isWhole);
}

TEST_F(CollectionTest, AnUnknownOrAbsentSerialNumberChangesNothing) {
    attachAndMount(world.device);
    const Texts before = titles();
    const auto posted = world.notifications.posted().size();
    world.log.take();
    iPodDevice::removeConnectedDeviceFromCollection("OTHER");
    iPodDevice::removeConnectedDeviceFromCollection(std::nullopt);
    EXPECT_EQ(titles(), before);
    EXPECT_EQ(common().md_connectedDevices()->size(), 1U);
    EXPECT_EQ(world.notifications.posted().size(), posted);
    EXPECT_EQ(world.log.take(), (Texts{"removeConnectedDeviceFromCollection:OTHER",
                                       "removeConnectedDeviceFromCollection:(null)"}));
}

TEST_F(CollectionTest, AnUnknownSerialNumberDoesNotDoubleThePlaceholder) {
    iPodDevice::removeConnectedDeviceFromCollection("OTHER");
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "No iPhones Connected..."}));
}

TEST_F(CollectionTest, DevicesWithoutSerialNumberShareOneKey) {
    world.device.values.erase("SerialNumber");
    second.values.erase("SerialNumber");
    attach(world.device);
    const auto red = attach(second);
    EXPECT_EQ(common().md_connectedDevices()->size(), 1U);
    EXPECT_EQ(common().md_connectedDevices()->at("Not available"), red);
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Red Phone", "Blue Phone"}));
}

TEST_F(CollectionTest, AReplacedDeviceLeavesNoObservationThatActs) {
    auto device = attach(world.device);
    device->startMount();
    const std::weak_ptr<iPodDevice> weak = device;
    device.reset();
    const auto again = attach(world.device);
    EXPECT_TRUE(weak.expired());
    again->startMount();
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_TRUE(again->isMounted());
}

TEST_F(CollectionTest, UnmountingAllKeepsEveryEntry) {
    attachAndMount(world.device);
    attachAndMount(second);
    world.log.take();
    iPodDevice::removeAllConnectedDevice();
    EXPECT_EQ(world.log.take().front(), "removeAllConnectedDevice");
    for (const auto& volume : world.fileSystems.volumes()) {
        EXPECT_EQ(volume->unmounts, 1);
    }
    EXPECT_EQ(common().md_connectedDevices()->size(), 2U);
    EXPECT_EQ(titles().size(), 5U);
}

TEST_F(CollectionTest, UnmountingAllOfNoneOnlyLogs) {
    iPodDevice::removeAllConnectedDevice();
    EXPECT_EQ(world.log.take(), (Texts{"removeAllConnectedDevice"}));
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(CollectionTest, AllAreUnmountedUntilOneIsMounted) {
    EXPECT_TRUE(common().allDevicesAreUnmounted());
    attach(world.device);
    EXPECT_TRUE(common().allDevicesAreUnmounted());
    const auto red = attachAndMount(second);
    EXPECT_FALSE(common().allDevicesAreUnmounted());
    red->stopMount();
    EXPECT_TRUE(common().allDevicesAreUnmounted());
}

TEST_F(CollectionTest, WithoutACollectionNothingIsMountedAndNothingFails) {
    common().setMd_connectedDevices(nullptr);
    EXPECT_TRUE(common().allDevicesAreUnmounted());
    common().revealInFinder();
    common().disconnectAllDevices();
    iPodDevice::removeAllConnectedDevice();
    const auto device = attach(world.device);
    EXPECT_EQ(device->serialNumber(), "SERIAL1");
}

TEST_F(CollectionTest, RevealingAllShowsTheMountedOnes) {
    attachAndMount(world.device);
    attach(second);
    common().revealInFinder();
    EXPECT_EQ(world.workspace.opened, (Texts{"/Volumes/Blue Phone (Media)"}));
}

TEST_F(CollectionTest, DisconnectingAllUnmountsAndKeepsTheEntries) {
    attachAndMount(world.device);
    attachAndMount(second);
    common().disconnectAllDevices();
    EXPECT_TRUE(common().allDevicesAreUnmounted());
    EXPECT_EQ(common().md_connectedDevices()->size(), 2U);
}

}  // namespace
}  // namespace quillbox::fakes
