// SPDX-License-Identifier: GPL-3.0-or-later
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

constexpr const char* kOwnIcon = "/usr/share/quillbox/QuillboxIcon.icns";
constexpr const char* kPicture = "/private/iTunesArtwork.png";
constexpr const char* kIcon = "/private/iTunesArtwork.icns";

/// A device with one application that is selected and served.
class VolumeIconTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        World::addApplication(world.device, "org.example.notes", "Notes");
        world.afc.addFile("org.example.notes", "/iTunesArtwork", "picture 600x600");
        device = attach(world.device);
        item = device->submi_connectionRoot()->submenu()->itemWithTag(kRootTagApplication);
        device->setLast_selectMenuItem(item);
        ASSERT_TRUE(device->iPhoneInterface()->setupConnectionForRoot(kRootTagApplication));
        world.calls.take();
        world.log.take();
    }

    std::shared_ptr<iPodDevice> device;
    std::shared_ptr<MenuItem> item;
};

TEST_F(VolumeIconTest, RootMediaAndNoRootShowTheProgramsOwnIcon) {
    for (const std::int32_t tag : {10, 11, 0, 99}) {
        item->setTag(tag);
        EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon) << tag;
    }
    device->setLast_selectMenuItem(nullptr);
    EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon);
    EXPECT_EQ(world.calls.take(), Texts{});
    world.bundle.isInstalled = false;
    EXPECT_EQ(device->mountDiskIconPath(), std::nullopt);
}

TEST_F(VolumeIconTest, AnApplicationsIconIsMadeOfItsPicture) {
    EXPECT_EQ(device->mountDiskIconPath(), kIcon);
    EXPECT_EQ(world.files.contents.at(kPicture), "picture 600x600");
    const std::string icon = world.files.contents.at(kIcon);
    EXPECT_TRUE(icon.starts_with("icns")) << icon;
    EXPECT_EQ(icon.substr(8, 4), "ic09");
    EXPECT_NE(icon.find("image 512x512"), std::string::npos);
    EXPECT_NE(icon.find("draw image 600x600 in (0, 0, 512, 512)"), std::string::npos);
    EXPECT_TRUE(world.log.contains("roundedCornersImage"));
    EXPECT_EQ(world.images.clips, (Texts{"(0, 0, 600, 600) 85 85"}));
}

TEST_F(VolumeIconTest, TheFilesOfTheMountBeforeAreRemovedFirst) {
    device->mountDiskIconPath();
    world.calls.take();
    world.afc.addFile("org.example.notes", "/iTunesArtwork", "picture 50x50");
    EXPECT_EQ(device->mountDiskIconPath(), kIcon);
    EXPECT_EQ(world.files.contents.at(kPicture), "picture 50x50");
    EXPECT_EQ(world.calls.count("removeItemAtPath"), 2U);
    EXPECT_EQ(world.calls.take().front(), std::string("removeItemAtPath ") + kPicture);
}

TEST_F(VolumeIconTest, WhatIsNotThereIsNotRemoved) {
    device->mountDiskIconPath();
    EXPECT_EQ(world.calls.count("removeItemAtPath"), 0U);
}

TEST_F(VolumeIconTest, AnApplicationWithoutPictureShowsTheProgramsOwnIcon) {
    world.afc.tree("org.example.notes").erase("/iTunesArtwork");
    EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon);
    EXPECT_FALSE(world.files.contents.contains(kIcon));
}

TEST_F(VolumeIconTest, APictureThatDoesNotDecodeLeavesTheProgramsOwnIcon) {
    for (const char* content : {"", "rubbish"}) {
        world.afc.addFile("org.example.notes", "/iTunesArtwork", content);
        EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon);
    }
    EXPECT_FALSE(world.files.contents.contains(kIcon));
}

TEST_F(VolumeIconTest, EveryFailureOfTheDrawingLeavesTheProgramsOwnIcon) {
    world.images.canLockFocus = false;
    EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon);
    world.images.canLockFocus = true;
    world.images.canEncode = false;
    EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon);
}

TEST_F(VolumeIconTest, AnIconThatCannotBeWrittenLeavesTheProgramsOwn) {
    world.calls.failAlways("writeDataAtomically", 1);
    EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon);
}

TEST_F(VolumeIconTest, AnApplicationsIconIsMadeAnewForEachMount) {
    device->startMount();
    EXPECT_EQ(device->myOption().front(), std::string("volicon=") + kIcon);
    world.calls.take();
    device->startMount();
    EXPECT_EQ(world.calls.count("AFCFileRefOpen"), 1U);
}

TEST_F(VolumeIconTest, WithTheSettingOffNoPictureIsRead) {
    isShowAppIconWhenMounted_ = false;
    device->startMount();
    EXPECT_EQ(device->myOption().front(), std::string("volicon=") + kOwnIcon);
    EXPECT_EQ(world.calls.count("AFCFileRefOpen"), 0U);
}

TEST_F(VolumeIconTest, WithoutASessionTheIconIsTheProgramsOwn) {
    device->setIPhoneInterface(nullptr);
    EXPECT_EQ(device->mountDiskIconPath(), kOwnIcon);
}

TEST_F(VolumeIconTest, AFileThatCannotBeRemovedIsNoFailure) {
    device->mountDiskIconPath();
    world.calls.failAlways("removeItemAtPath", 1);
    EXPECT_EQ(device->mountDiskIconPath(), kIcon);
}

}  // namespace
}  // namespace quillbox::fakes
