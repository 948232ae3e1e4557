// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Shell/manzana.h"
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

class ListenerTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        manzana::initIPhoneListener();
    }

    const ConnectedDevices& devices() {
        return *CommonData::sharedInstance().md_connectedDevices();
    }

    void connect(am_device& device) { world.devices.announce(&device, 1); }

    void disconnect(am_device& device) { world.devices.announce(&device, 2); }
};

TEST_F(ListenerTest, ListeningSubscribesOnceWithoutData) {
    EXPECT_EQ(world.calls.take(), (Texts{"AMDeviceNotificationSubscribe 0 0 null"}));
}

TEST_F(ListenerTest, AnArrivalOpensTheSessionAndAsksForTheMount) {
    connect(world.device);
    ASSERT_EQ(devices().size(), 1U);
    const auto& device = devices().at("SERIAL1");
    EXPECT_EQ(device->iPhoneInterface()->myDevice(), &world.device);
    EXPECT_EQ(world.fileSystems.last().path, "/Volumes/Blue Phone (Media)");
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Blue Phone"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"iPhone recognized.", "addMenuForDevice", "updateChangeConnectionRootMenuItem",
                     "kConnectionRoot_Media", "startMount"}));
}

TEST_F(ListenerTest, TheRootServiceIsTriedOnlyWhereTheSettingAllowsIt) {
    world.device.services.insert("com.apple.afc2");
    connect(world.device);
    EXPECT_EQ(world.calls.count("AMDeviceStartService com.apple.afc2"), 0U);
    world.preferences.setObject("allowsAFC2Access", true);
    second.services.insert("com.apple.afc2");
    connect(second);
    EXPECT_TRUE(devices().at("SERIAL2")->iPhoneInterface()->isJailbreaked());
}

TEST_F(ListenerTest, ASessionThatFailsToOpenIsDroppedSilently) {
    world.calls.fail("AMDeviceIsPaired", FakeMobileDevice::kNotPaired);
    connect(world.device);
    EXPECT_TRUE(devices().empty());
    EXPECT_EQ(titles().back(), "No iPhones Connected...");
    EXPECT_TRUE(world.fileSystems.volumes().empty());
    EXPECT_TRUE(world.workspace.alerts.empty());
    EXPECT_EQ(world.log.take(), (Texts{"iPhone recognized."}));
}

TEST_F(ListenerTest, TwoDevicesHaveTwoEntriesAndLeaveOneByOne) {
    connect(world.device);
    connect(second);
    EXPECT_EQ(devices().size(), 2U);
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Red Phone", "Blue Phone"}));
    disconnect(world.device);
    EXPECT_EQ(devices().size(), 1U);
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Red Phone"}));
    disconnect(second);
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "No iPhones Connected..."}));
    EXPECT_FALSE(topMenu->items().at(3)->isEnabled());
}

TEST_F(ListenerTest, ADepartureEndsTheVolumeAndIsTold) {
    connect(world.device);
    world.fileSystems.finishMount(world.fileSystems.last());
    world.log.take();
    disconnect(world.device);
    EXPECT_EQ(world.fileSystems.last().unmounts, 1);
    EXPECT_TRUE(devices().empty());
    const auto& posted = world.notifications.posted();
    EXPECT_EQ(posted.at(posted.size() - 2).name, "attachedDeviceRemovedFromCollection");
    EXPECT_EQ(posted.back().name, "iPhoneDisconnectedNotification");
    EXPECT_EQ(posted.back().object, nullptr);
    EXPECT_EQ(world.log.take().front(), "iPhone disconnected.");
    EXPECT_EQ(statusItem->images.back(), "16x16off");
}

TEST_F(ListenerTest, ADeviceThatComesBackIsMountedAgain) {
    connect(world.device);
    disconnect(world.device);
    connect(world.device);
    EXPECT_EQ(devices().size(), 1U);
    EXPECT_EQ(world.fileSystems.volumes().size(), 2U);
}

TEST_F(ListenerTest, TheDepartureOfAnUnknownDeviceChangesNothing) {
    connect(world.device);
    const Texts before = titles();
    disconnect(second);
    EXPECT_EQ(titles(), before);
    EXPECT_EQ(devices().size(), 1U);
    EXPECT_EQ(world.notifications.posted().back().name, "iPhoneDisconnectedNotification");
}

TEST_F(ListenerTest, ADeviceWithoutSerialNumberIsNotFoundAgain) {
    world.device.values.erase("SerialNumber");
    connect(world.device);
    EXPECT_TRUE(devices().contains("Not available"));
    disconnect(world.device);
    EXPECT_TRUE(devices().contains("Not available"));
    EXPECT_EQ(titles().back(), "Blue Phone");
}

TEST_F(ListenerTest, ASecondArrivalOfASerialNumberReplacesTheEntryButNotTheMenuItem) {
    connect(world.device);
    second.values.insert_or_assign("SerialNumber", "SERIAL1");
    connect(second);
    EXPECT_EQ(devices().size(), 1U);
    EXPECT_EQ(devices().at("SERIAL1")->iPhoneInterface()->myDevice(), &second);
    EXPECT_EQ(titles(), (Texts{"one", "two", "three", "Red Phone", "Blue Phone"}));
}

TEST_F(ListenerTest, WithoutACollectionThePlaceholderGoesOneHigher) {
    CommonData::sharedInstance().setMd_connectedDevices(nullptr);
    topMenu->removeItem(topMenu->itemWithTitle("No iPhones Connected...").get());
    disconnect(world.device);
    EXPECT_EQ(titles(), (Texts{"one", "two", "No iPhones Connected...", "three"}));
}

TEST_F(ListenerTest, AnUnknownMessageIsLoggedAndChangesNothing) {
    connect(world.device);
    world.log.take();
    const auto posted = world.notifications.posted().size();
    for (const std::uint32_t message : {3U, 0U, 4294967295U}) {
        world.devices.announce(&world.device, message);
    }
    EXPECT_EQ(world.log.take(),
              (Texts{"Unknown device connection notificaiton recieved.  Message = 3",
                     "Unknown device connection notificaiton recieved.  Message = 0",
                     "Unknown device connection notificaiton recieved.  Message = -1"}));
    EXPECT_EQ(devices().size(), 1U);
    EXPECT_EQ(world.notifications.posted().size(), posted);
}

TEST_F(ListenerTest, ASessionIsFoundByItsVeryHandle) {
    connect(world.device);
    connect(second);
    EXPECT_EQ(manzana::podPhoneForDeviceID(&second), devices().at("SERIAL2")->iPhoneInterface());
    am_device third;
    EXPECT_EQ(manzana::podPhoneForDeviceID(&third), nullptr);
    devices().at("SERIAL2")->setIsIPhone(false);
    EXPECT_EQ(manzana::podPhoneForDeviceID(&second), nullptr);
}

TEST_F(ListenerTest, DevicesWithOneNameGetVolumesOfTheirOwn) {
    connect(world.device);
    world.files.paths.insert(world.fileSystems.last().path);  // the library makes the folder
    second.values.insert_or_assign("DeviceName", "Blue Phone");
    connect(second);
    EXPECT_EQ(world.fileSystems.last().path, "/Volumes/Blue Phone (Media) 2");
}

}  // namespace
}  // namespace quillbox::fakes
