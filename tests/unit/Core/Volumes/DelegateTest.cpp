// SPDX-License-Identifier: GPL-3.0-or-later
#include "Volumes/DeviceTest.h"

#include <cerrno>
#include <fcntl.h>

namespace quillbox::fakes {
namespace {

class DelegateTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        device = attachAndMount(world.device);
        volume = world.fileSystems.last().mounted;
        world.afc.addDirectory("Media", "/DCIM");
        world.afc.addFile("Media", "/a.txt", "hello");
        world.calls.take();
    }

    std::shared_ptr<iPodDevice> device;
    std::shared_ptr<GMUserFileSystemDelegate> volume;
    std::optional<NSError> error;
};

TEST_F(DelegateTest, TheAdapterKnowsItsDevice) {
    EXPECT_EQ(&device->macFuseDisk()->currentDevice(), device.get());
    EXPECT_EQ(&MFDiskFilesystem::initWithIPodDevice(*device)->currentDevice(), device.get());
}

TEST_F(DelegateTest, AFileGoesThroughItsWholeLife) {
    GMUserData record;
    EXPECT_TRUE(volume->createFileAtPath("/b.txt", {}, &record, &error));
    EXPECT_EQ(volume->writeFileAtPath("/b.txt", record, "text", 4, 0, &error), 4);
    volume->releaseFileAtPath("/b.txt", record);
    EXPECT_TRUE(volume->openFileAtPath("/b.txt", O_RDONLY, &record, &error));
    std::array<char, 8> buffer{};
    EXPECT_EQ(volume->readFileAtPath("/b.txt", record, buffer.data(), 8, 0, &error), 4);
    EXPECT_STREQ(buffer.data(), "text");
    EXPECT_TRUE(volume->attributesOfItemAtPath("/b.txt", record, &error));
    EXPECT_TRUE(volume->setAttributes({}, "/b.txt", record, &error));
    volume->releaseFileAtPath("/b.txt", record);
    EXPECT_EQ(world.afc.openFiles(), 0U);
}

TEST_F(DelegateTest, FailuresComeBackAsTheSessionGivesThem) {
    EXPECT_EQ(volume->readFileAtPath("/a.txt", nullptr, nullptr, 8, 0, &error), -2);
    EXPECT_EQ(codeOf(error), EINVAL);
    EXPECT_EQ(volume->writeFileAtPath("/a.txt", nullptr, "x", 1, 0, &error), -2);
    GMUserData record;
    EXPECT_FALSE(volume->openFileAtPath("/none", O_RDONLY, &record, &error));
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_FALSE(volume->createFileAtPath("/none/x", {}, &record, &error));
    EXPECT_EQ(codeOf(error), EIO);
}

TEST_F(DelegateTest, TheNameSpaceIsTheSessions) {
    EXPECT_EQ(volume->contentsOfDirectoryAtPath("/", &error), (Texts{".", "..", "DCIM", "a.txt"}));
    EXPECT_TRUE(volume->attributesOfFileSystemForPath("/", &error));
    EXPECT_TRUE(volume->createDirectoryAtPath("/new", {}, &error));
    EXPECT_TRUE(volume->moveItemAtPath("/a.txt", "/new/a.txt", &error));
    EXPECT_FALSE(volume->removeDirectoryAtPath("/new", &error));
    EXPECT_EQ(codeOf(error), ENOTSUP);
    EXPECT_TRUE(volume->linkItemAtPath("/new/a.txt", "/hard", &error));
    EXPECT_TRUE(volume->createSymbolicLinkAtPath("/soft", "hard", &error));
    EXPECT_EQ(volume->destinationOfSymbolicLinkAtPath("/soft", &error), "hard");
    EXPECT_TRUE(volume->removeItemAtPath("/hard", &error));
    EXPECT_FALSE(world.afc.exists("Media", "/hard"));
}

TEST_F(DelegateTest, AttributesThatTheDeviceCannotServeAreRefusedTheSameWay) {
    EXPECT_EQ(volume->valueOfExtendedAttribute("x", "/a.txt", 0, &error), std::nullopt);
    EXPECT_EQ(volume->extendedAttributesOfItemAtPath("/a.txt", &error), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOTSUP);
    EXPECT_TRUE(volume->setExtendedAttribute("x", "/a.txt", {}, 0, 0, &error));
    EXPECT_FALSE(volume->setExtendedAttribute("x", "/a.txt", {}, 9, 0, &error));
    EXPECT_EQ(volume->finderAttributesAtPath("/a.txt", &error), std::nullopt);
    EXPECT_EQ(volume->resourceAttributesAtPath("/a.txt", &error), std::nullopt);
}

TEST_F(DelegateTest, ExchangingDataAnswersYesAndTouchesNothing) {
    EXPECT_TRUE(volume->exchangeDataOfItemAtPath("/a.txt", "/DCIM", &error));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(DelegateTest, AnUnmountUnderWayIsMarkedEvenWhenItFailsLater) {
    volume->willMount();
    EXPECT_FALSE(device->willUnmount());
    volume->willUnmount();
    EXPECT_TRUE(device->willUnmount());
    EXPECT_TRUE(device->isMounted());
}

TEST_F(DelegateTest, TheRootThatTheSessionHasAtThatMomentIsAsked) {
    world.device.services.insert("com.apple.afc2");
    ASSERT_TRUE(device->iPhoneInterface()->setupConnectionForRoot(10));
    world.afc.addDirectory("Root", "/private");
    EXPECT_EQ(volume->contentsOfDirectoryAtPath("/", &error), (Texts{".", "..", "private"}));
}

}  // namespace
}  // namespace quillbox::fakes
