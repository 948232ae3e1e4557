// SPDX-License-Identifier: GPL-3.0-or-later
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

class MountTest : public DeviceTest {};

TEST_F(MountTest, ANewDeviceIsUnmountedAndInTheCollection) {
    const auto device = attach(world.device);
    EXPECT_FALSE(device->isMounted());
    EXPECT_TRUE(device->isIPhone());
    EXPECT_FALSE(device->isSQLiteType());
    EXPECT_FALSE(device->willUnmount());
    EXPECT_EQ(device->macFuseDisk(), nullptr);
    EXPECT_EQ(device->gmUserFileSys(), nullptr);
    EXPECT_EQ(CommonData::sharedInstance().md_connectedDevices()->at("SERIAL1"), device);
}

TEST_F(MountTest, TheIdentityIsFetchedInOrderWhenTheDeviceIsMade) {
    const auto phone = session(world.device);
    world.calls.take();
    world.log.take();
    iPodDevice::initWithIPhone(phone);
    Texts calls = world.calls.take();
    std::erase_if(calls, [](const auto& each) { return each.starts_with("AFCKeyValue"); });
    EXPECT_EQ(calls,
              (Texts{"AMDeviceCopyValue DeviceName", "AMDeviceCopyValue FirmwareVersion",
                     "AFCDeviceInfoOpen", "AFCDeviceInfoOpen", "AMDeviceCopyValue DeviceClass",
                     "AMDeviceCopyValue ProductType", "AMDeviceLookupApplications 0"}));
    EXPECT_EQ(world.log.take(), (Texts{"addMenuForDevice", "updateChangeConnectionRootMenuItem",
                                       "kConnectionRoot_Media"}));
}

TEST_F(MountTest, TheIdentityIsKeptOnceItIsKnown) {
    world.device.values.insert_or_assign("FirmwareVersion", "iBoot-1");
    world.device.values.insert_or_assign("ProductType", "iPhone1,1");
    world.device.values.insert_or_assign("DeviceClass", "iPhone");
    const auto device = attach(world.device);
    world.device.values.clear();
    world.afc.setDeviceInfo({});
    world.calls.take();
    EXPECT_EQ(device->deviceName(), "Blue Phone");
    EXPECT_EQ(device->serialNumber(), "SERIAL1");
    EXPECT_EQ(device->firmwareVersion(), "iBoot-1");
    EXPECT_EQ(device->productType(), "iPhone1,1");
    EXPECT_EQ(device->deviceClass(), "iPhone");
    EXPECT_EQ(device->capacity(), 17179869184);
    EXPECT_EQ(device->availableDiskSpace(), 1073741824);
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(MountTest, WhatTheDeviceDoesNotTellIsAskedAgain) {
    world.device.values.clear();
    world.afc.setDeviceInfo({});
    const auto device = attach(world.device);
    world.device.values.insert_or_assign("FirmwareVersion", "iBoot-1");
    world.device.values.insert_or_assign("DeviceName", "Late");
    world.afc.setDeviceInfo({{"FSTotalBytes", "5"}, {"FSFreeBytes", "3"}});
    EXPECT_EQ(device->firmwareVersion(), "iBoot-1");
    EXPECT_EQ(device->capacity(), 5);
    EXPECT_EQ(device->availableDiskSpace(), 3);
    EXPECT_EQ(device->deviceName(), "Not available");
    EXPECT_EQ(device->serialNumber(), "Not available");
    EXPECT_EQ(device->productType(), std::nullopt);
}

TEST_F(MountTest, ADeviceThatIsNoIPhoneIsNotAsked) {
    world.afc.setDeviceInfo({});
    const auto device = attach(world.device);
    device->setIsIPhone(false);
    world.calls.take();
    EXPECT_EQ(device->capacity(), 0);
    EXPECT_EQ(device->availableDiskSpace(), 0);
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(MountTest, WithoutASessionTheDeviceTellsWhatItKnowsAndItsVolumeFails) {
    world.afc.setDeviceInfo({});
    const auto device = attach(world.device);
    device->startMount();
    device->setIPhoneInterface(nullptr);
    EXPECT_EQ(device->deviceName(), "Blue Phone");
    EXPECT_EQ(device->firmwareVersion(), std::nullopt);
    EXPECT_EQ(device->capacity(), 0);
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_TRUE(device->isMounted());
    std::optional<NSError> error;
    EXPECT_EQ(device->macFuseDisk()->attributesOfItemAtPath("/", nullptr, &error), std::nullopt);
    EXPECT_TRUE(error);
}

TEST_F(MountTest, AMountIsAskedForUnderTheDevicesName) {
    const auto device = attach(world.device);
    world.log.take();
    device->startMount();
    const auto& volume = world.fileSystems.last();
    EXPECT_EQ(volume.path, "/Volumes/Blue Phone (Media)");
    EXPECT_EQ(device->myMountPath(), "/Volumes/Blue Phone (Media)");
    EXPECT_EQ(device->currentMountDiskName(), "Blue Phone (Media)");
    EXPECT_EQ(volume.delegate.lock().get(), device->macFuseDisk());
    EXPECT_FALSE(volume.isThreadSafe);
    EXPECT_EQ(device->gmUserFileSys(), volume.object);
    EXPECT_FALSE(device->isMounted());
    EXPECT_EQ(world.log.take(), (Texts{"startMount"}));
}

TEST_F(MountTest, TheOptionsOfModeZeroAreExactlyFiveInOrder) {
    const auto device = attach(world.device);
    device->startMount();
    EXPECT_EQ(device->myOption(),
              (Texts{"volicon=/usr/share/quillbox/QuillboxIcon.icns", "volname=Blue Phone (Media)",
                     "direct_io", "allow_other", "local"}));
    EXPECT_EQ(world.fileSystems.last().options, device->myOption());
}

TEST_F(MountTest, OnAnOldSystemTheLocalOptionIsLeftOut) {
    world.bundle.version = "Version 10.4.11";
    const auto device = attach(world.device);
    device->startMount();
    EXPECT_EQ(device->myOption().back(), "allow_other");
}

TEST_F(MountTest, WithAnyOtherModeTheOptionsStopAfterDirectInput) {
    for (const int mode : {1, 2, -1}) {
        world.preferences.setObject("setting_mountDiskMode", mode);
        const auto device = attach(world.device);
        device->startMount();
        EXPECT_EQ(device->myOption().size(), 3U);
        EXPECT_EQ(device->myOption().back(), "direct_io");
    }
}

TEST_F(MountTest, TheIconIsTheProgramsOwnWhetherOrNotTheFlagIsSet) {
    const auto device = attach(world.device);
    for (const bool isShown : {true, false}) {
        isShowAppIconWhenMounted_ = isShown;
        device->startMount();
        EXPECT_EQ(device->myOption().front(), "volicon=/usr/share/quillbox/QuillboxIcon.icns");
    }
}

TEST_F(MountTest, ADidMountMarksTheDeviceAndSavesItsRoot) {
    const auto device = attach(world.device);
    device->startMount();
    world.log.take();
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_TRUE(device->isMounted());
    EXPECT_EQ(enabled(*device), mountedItems);
    EXPECT_EQ(statusItem->images, (Texts{"16x16on"}));
    EXPECT_TRUE(world.preferences.dictionaryForKey("UDID1"));
    EXPECT_TRUE(world.workspace.opened.empty());
    EXPECT_EQ(world.log.take(), (Texts{"Got didMount notification."}));
}

TEST_F(MountTest, WithoutATrayADidMountWorksAllTheSame) {
    CommonData::sharedInstance().setStatusItem(nullptr);
    EXPECT_TRUE(attachAndMount(world.device)->isMounted());
}

TEST_F(MountTest, ARootThatTheApplicationListDoesNotHoldIsNotSaved) {
    const auto device = attach(world.device);
    device->iPhoneInterface()->setupConnectionForRoot(105);
    device->startMount();
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_TRUE(device->isMounted());
    EXPECT_TRUE(world.preferences.values().empty());
}

TEST_F(MountTest, AMountOfTheUserRevealsTheVolumeOnce) {
    const auto device = attachAndMount(world.device);
    device->stopMount();
    device->mountDevice();
    EXPECT_FALSE(device->isMounted());
    EXPECT_TRUE(device->isUserChanged());
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_EQ(world.workspace.opened, (Texts{"/Volumes/Blue Phone (Media)"}));
    EXPECT_FALSE(device->isUserChanged());
    world.fileSystems.post(kGMUserFileSystemDidMount, world.fileSystems.last());
    EXPECT_EQ(world.workspace.opened.size(), 1U);
}

TEST_F(MountTest, AMountOfTheUserCountsAsUnmountedUntilItIsThere) {
    const auto device = attachAndMount(world.device);
    device->mountDevice();
    EXPECT_FALSE(device->isMounted());
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_TRUE(device->isMounted());
}

TEST_F(MountTest, AnUnmountOfTheUserIsHeardBeforeTheObservationsEnd) {
    const auto device = attachAndMount(world.device);
    world.log.take();
    device->stopMount();
    EXPECT_FALSE(device->isMounted());
    EXPECT_EQ(enabled(*device), (Texts{"Mount Device"}));
    EXPECT_EQ(statusItem->images.back(), "16x16off");
    EXPECT_EQ(window.closed, 1);
    EXPECT_FALSE(device->willUnmount());
    EXPECT_EQ(world.notifications.observations(device.get()), 0U);
    EXPECT_EQ(world.log.take(), (Texts{"stopMount", "Got didUnmount notification. NSNotification "
                                                    "{name = kGMUserFileSystemDidUnmount}"}));
}

TEST_F(MountTest, AnUnmountBySomebodyElseIsSeenToo) {
    const auto device = attachAndMount(world.device);
    world.fileSystems.finishUnmount(world.fileSystems.last());
    EXPECT_FALSE(device->isMounted());
    EXPECT_EQ(enabled(*device), (Texts{"Mount Device"}));
    EXPECT_EQ(world.notifications.observations(device.get()), 4U);
}

TEST_F(MountTest, AForeignUnmountOnlyClosesTheInformationWindow) {
    const auto device = attachAndMount(world.device);
    FakeVolume foreign;
    world.fileSystems.post(kGMUserFileSystemDidUnmount, foreign);
    EXPECT_TRUE(device->isMounted());
    EXPECT_EQ(enabled(*device), mountedItems);
    EXPECT_EQ(statusItem->images, (Texts{"16x16on"}));
    EXPECT_EQ(window.closed, 1);
    EXPECT_FALSE(device->willUnmount());
}

TEST_F(MountTest, TheStatusImageTurnsOffWithTheLastMountedDevice) {
    const auto blue = attachAndMount(world.device);
    const auto red = attachAndMount(second);
    blue->stopMount();
    EXPECT_EQ(statusItem->images.back(), "16x16on");
    EXPECT_TRUE(red->isMounted());
    red->stopMount();
    EXPECT_EQ(statusItem->images.back(), "16x16off");
}

TEST_F(MountTest, ADidMountOfOneVolumeMarksEveryObservingDevice) {
    const auto blue = attach(world.device);
    const auto red = attach(second);
    const auto idle = attach(second);
    blue->startMount();
    auto& ofBlue = world.fileSystems.last();
    red->startMount();
    world.fileSystems.finishMount(ofBlue);
    EXPECT_TRUE(blue->isMounted());
    EXPECT_TRUE(red->isMounted());
    EXPECT_FALSE(idle->isMounted());
    EXPECT_TRUE(world.preferences.dictionaryForKey("UDID1"));
    EXPECT_TRUE(world.preferences.dictionaryForKey("UDID2"));
}

TEST_F(MountTest, AFailedMountShowsOneAlertAndCanBeTriedAgain) {
    const auto device = attach(world.device);
    device->startMount();
    world.log.take();
    NSError failure = NSError::errorWithDomain("GMUserFileSystem", 5, {{"hint", "try"}});
    failure.localizedDescription = "The folder is in use.";
    world.fileSystems.failMount(world.fileSystems.last(), failure);
    EXPECT_EQ(world.workspace.alerts, (std::vector<std::pair<std::string, std::string>>{
                                          {"Mount Failed", "The folder is in use."}}));
    EXPECT_FALSE(device->isMounted());
    EXPECT_TRUE(device->submi_startMount()->isEnabled());
    EXPECT_EQ(world.log.take(),
              (Texts{"Got mountFailed notification.",
                     "kGMUserFileSystem Error: Error Domain=GMUserFileSystem Code=5 \"The folder "
                     "is in use.\", userInfo={ hint = try; }"}));
    device->submi_startMount()->action()(*device->submi_startMount());
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_TRUE(device->isMounted());
}

TEST_F(MountTest, AFailedMountShowsOneAlertForEachObservingDevice) {
    attach(world.device)->startMount();
    attach(second)->startMount();
    world.fileSystems.failMount(world.fileSystems.last(), NSError{});
    EXPECT_EQ(world.workspace.alerts.size(), 2U);
}

TEST_F(MountTest, AMountFailureWithoutAnErrorIsNoHarm) {
    attach(world.device)->startMount();
    world.log.take();
    world.fileSystems.post(kGMUserFileSystemMountFailed, world.fileSystems.last());
    EXPECT_EQ(world.workspace.alerts.size(), 1U);
    EXPECT_EQ(world.log.take().back(), "kGMUserFileSystem Error: (null), userInfo=(null)");
}

TEST_F(MountTest, TheEndOfTheProgramUnmounts) {
    const auto device = attachAndMount(world.device);
    world.notifications.post(
        Notification{std::string(NSApplicationWillTerminateNotification), nullptr, {}});
    EXPECT_FALSE(device->isMounted());
    EXPECT_EQ(world.fileSystems.last().unmounts, 1);
    EXPECT_EQ(world.notifications.observations(device.get()), 0U);
}

TEST_F(MountTest, StoppingWhatWasNeverMountedIsNoHarm) {
    const auto device = attach(world.device);
    device->stopMount();
    device->startMount();
    device->stopMount();
    EXPECT_EQ(world.fileSystems.last().unmounts, 1);
    EXPECT_FALSE(device->isMounted());
}

TEST_F(MountTest, EachMountGetsAnAdapterAndALibraryObjectOfItsOwn) {
    const auto device = attachAndMount(world.device);
    const auto* firstAdapter = device->macFuseDisk();
    const auto first = world.fileSystems.volumes().front();
    device->startMount();
    EXPECT_NE(device->macFuseDisk(), firstAdapter);
    EXPECT_EQ(first->object, nullptr);
    EXPECT_EQ(first->mounted->contentsOfDirectoryAtPath("/", nullptr), (Texts{".", ".."}));
}

TEST_F(MountTest, AMountedVolumeKeepsDeviceSessionAndAdapterUntilItsLastCall) {
    auto device = attachAndMount(world.device);
    const std::weak_ptr<iPodDevice> weak = device;
    const std::weak_ptr<PodPhone> weakSession = device->iPhoneInterface();
    const auto call = world.fileSystems.last().mounted;  // a call that is still inside
    device.reset();
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    ASSERT_FALSE(weak.expired());
    EXPECT_TRUE(call->attributesOfFileSystemForPath("/", nullptr));
    world.fileSystems.last().mounted.reset();
    EXPECT_FALSE(weakSession.expired());
}

TEST_F(MountTest, ADeviceEndsWithItsLastCall) {
    auto device = attachAndMount(world.device);
    const std::weak_ptr<iPodDevice> weak = device;
    const std::weak_ptr<PodPhone> weakSession = device->iPhoneInterface();
    device.reset();
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(weakSession.expired());
    EXPECT_TRUE(world.fileSystems.last().delegate.expired());
}

TEST_F(MountTest, AnUnmountedDeviceIsNotHeldByItsVolume) {
    auto device = attach(world.device);
    device->startMount();
    const std::weak_ptr<iPodDevice> weak = device;
    device.reset();
    CommonData::sharedInstance().md_connectedDevices()->clear();
    EXPECT_TRUE(weak.expired());
    world.fileSystems.post(kGMUserFileSystemDidMount, world.fileSystems.last());
}

}  // namespace
}  // namespace quillbox::fakes
