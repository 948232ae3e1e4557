// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

#include <fcntl.h>

namespace quillbox::fakes {
namespace {

/// A session that notes which files it hands to the camera roll.
class CameraRollPhone : public PodPhone {
public:
    using PodPhone::PodPhone;

    bool createThumbnailForDCIM(const std::string& path) override {
        handed.push_back(path);
        return answer;
    }

    Texts handed;
    bool answer = false;
};

class ReleasingTest : public CoreTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(phone.initializePodPhone(&world.device, false));
        setRenaming(true);
    }

    void setRenaming(bool isOn) {
        world.preferences.setObject("changeNameOnCopyImages2DCIM", isOn);
        world.calls.take();
    }

    void copyIn(const std::string& path, const std::string& text = "picture") {
        GMUserData record;
        ASSERT_TRUE(phone.createFileAtPath(path, {}, &record, nullptr));
        phone.writeFileAtPath(path, record, text.data(), text.size(), 0, nullptr);
        phone.releaseFileAtPath(path, record);
    }

    void openAndRelease(const std::string& path, int flags) {
        GMUserData record;
        ASSERT_TRUE(phone.openFileAtPath(path, flags, &record, nullptr));
        world.log.take();
        phone.releaseFileAtPath(path, record);
    }

    CameraRollPhone phone{world.platform};
};

TEST_F(ReleasingTest, TheHandleIsClosedAndTheResultIgnored) {
    setRenaming(false);
    world.calls.fail("AFCFileRefClose", 1);
    copyIn("/a.jpg");
    EXPECT_EQ(world.afc.openFiles(), 0U);
    EXPECT_EQ(world.calls.take().back(), "AFCFileRefClose");
    const Texts lines = world.log.take();
    EXPECT_EQ(lines.at(lines.size() - 2), "releaseFileAtPath:userData:/a.jpg");
    EXPECT_EQ(lines.back(), "released file\n ");
}

TEST_F(ReleasingTest, WithoutARecordOnlyTheFirstLineIsLogged) {
    phone.releaseFileAtPath("/a.jpg", nullptr);
    EXPECT_EQ(world.log.take(), (Texts{"releaseFileAtPath:userData:/a.jpg"}));
    EXPECT_EQ(world.calls.count("AFCFileRefClose"), 0U);
}

TEST_F(ReleasingTest, ACopyMarksThePathAndTheNextReleaseHandsItOver) {
    copyIn("/a.jpg");
    EXPECT_TRUE(phone.isAwaitingCameraRoll("/a.jpg"));
    EXPECT_EQ(phone.handed, Texts{});
    openAndRelease("/a.jpg", O_RDONLY);
    EXPECT_EQ(phone.handed, (Texts{"/a.jpg"}));
    EXPECT_FALSE(phone.isAwaitingCameraRoll("/a.jpg"));
    EXPECT_EQ(world.log.take(), (Texts{"releaseFileAtPath:userData:/a.jpg", "released file\n "}));
    openAndRelease("/a.jpg", O_RDONLY);
    EXPECT_EQ(phone.handed.size(), 1U);
}

TEST_F(ReleasingTest, AFileThatWasDealtWithIsNotLoggedAsReleased) {
    phone.answer = true;
    copyIn("/a.jpg");
    openAndRelease("/a.jpg", O_RDONLY);
    EXPECT_EQ(world.log.take(), (Texts{"releaseFileAtPath:userData:/a.jpg"}));
}

TEST_F(ReleasingTest, AWriterThatIsNotDealtWithMarksThePathAgain) {
    copyIn("/a.jpg");
    copyIn("/a.jpg");
    EXPECT_EQ(phone.handed, (Texts{"/a.jpg"}));
    EXPECT_TRUE(phone.isAwaitingCameraRoll("/a.jpg"));
}

TEST_F(ReleasingTest, WithRenamingOffNothingIsMarkedOrHandedOver) {
    setRenaming(false);
    copyIn("/a.jpg");
    openAndRelease("/a.jpg", O_RDONLY);
    EXPECT_FALSE(phone.isAwaitingCameraRoll("/a.jpg"));
    EXPECT_EQ(phone.handed, Texts{});
}

TEST_F(ReleasingTest, TheSettingIsReadAtEachRelease) {
    copyIn("/a.jpg");
    setRenaming(false);
    openAndRelease("/a.jpg", O_RDONLY);
    EXPECT_EQ(phone.handed, Texts{});
    setRenaming(true);
    openAndRelease("/a.jpg", O_RDONLY);
    EXPECT_EQ(phone.handed, (Texts{"/a.jpg"}));
}

TEST_F(ReleasingTest, WhatIsNoPictureIsNotMarkedByACopy) {
    copyIn("/notes.txt");
    EXPECT_FALSE(phone.isAwaitingCameraRoll("/notes.txt"));
}

TEST_F(ReleasingTest, AMarkOfAFileThatIsNoPictureIsNeverConsumed) {
    copyIn("/notes.txt");
    GMUserData record;
    ASSERT_TRUE(phone.openFileAtPath("/notes.txt", O_WRONLY, &record, nullptr));
    phone.writeFileAtPath("/notes.txt", record, "x", 1, 0, nullptr);
    phone.releaseFileAtPath("/notes.txt", record);
    EXPECT_TRUE(phone.isAwaitingCameraRoll("/notes.txt"));
    openAndRelease("/notes.txt", O_RDONLY);
    EXPECT_TRUE(phone.isAwaitingCameraRoll("/notes.txt"));
    EXPECT_EQ(phone.handed, Texts{});
}

TEST_F(ReleasingTest, ACopyWhoseLastWriteFailedIsNotMarked) {
    world.calls.fail("AFCFileRefWrite", 18);
    copyIn("/a.jpg");
    EXPECT_FALSE(phone.isAwaitingCameraRoll("/a.jpg"));
}

TEST_F(ReleasingTest, AFileThatWasMadeButNotWrittenIsNotMarked) {
    copyIn("/a.jpg", "");
    EXPECT_FALSE(phone.isAwaitingCameraRoll("/a.jpg"));
}

TEST_F(ReleasingTest, AnApplicationsPicturesAreMarkedByTheirDevicePaths) {
    World::addApplication(world.device, "org.example.notes", "Notes");
    appMountPathIndex_ = 1;
    ASSERT_TRUE(phone.setupConnectionForRoot(kRootTagApplication));
    world.afc.addDirectory("org.example.notes", "/Documents");
    copyIn("/a.jpg");
    EXPECT_TRUE(phone.isAwaitingCameraRoll("/Documents/a.jpg"));
    openAndRelease("/a.jpg", O_RDONLY);
    EXPECT_EQ(phone.handed, (Texts{"/Documents/a.jpg"}));
}

TEST_F(ReleasingTest, OpeningTheSessionAnewForgetsTheMarks) {
    copyIn("/a.jpg");
    phone.ReConnect(false);
    EXPECT_FALSE(phone.isAwaitingCameraRoll("/a.jpg"));
}

TEST_F(ReleasingTest, WithoutAConnectionNoPictureIsDealtWith) {
    PodPhone plain(world.platform);
    EXPECT_FALSE(plain.createThumbnailForDCIM("/DCIM/100APPLE/a.jpg"));
}

}  // namespace
}  // namespace quillbox::fakes
