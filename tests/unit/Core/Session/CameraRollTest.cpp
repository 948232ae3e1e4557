// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"
#include "Core/Settings/SettingsKeys.h"
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

constexpr const char* kLocalInfo = "/tmp/Quillbox_DCIM_tempInfo.plist";
constexpr const char* kLocalThumbnail = "/tmp/Quillbox_DCIM_tempIcon.THM";

class CameraRollTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        for (const auto* each :
             {"/DCIM", "/DCIM/.MISC", "/DCIM/100APPLE", "/DCIM/100APPLE/.MISC"}) {
            world.afc.addDirectory("Media", each);
        }
        keep({{"LastFileGroupNumber-100", 1}});
    }

    /// What the device keeps about its folders.
    void keep(const PropertyDictionary& groups) {
        world.files.dictionaries["groups"] = groups;
        world.afc.addFile("Media", "/DCIM/.MISC/Info.plist", "groups");
    }

    bool copied(const std::string& path, const std::string& content = "picture 4000x3000") {
        world.afc.addDirectory("Media", stringByDeletingLastPathComponent(path));
        world.afc.addFile("Media", path, content);
        return phone.createThumbnailForDCIM(path);
    }

    bool exists(const std::string& path) { return world.afc.exists("Media", path); }

    /// A picture that is left alone: under its name, with nothing new beside it.
    void expectUntouched(const std::string& path) {
        world.afc.addDirectory("Media", stringByDeletingLastPathComponent(path));
        world.afc.addFile("Media", path, "picture 4000x3000");
        const std::size_t items = world.afc.tree("Media").size();
        EXPECT_FALSE(phone.createThumbnailForDCIM(path)) << path;
        EXPECT_TRUE(exists(path)) << path;
        EXPECT_EQ(world.afc.tree("Media").size(), items) << path;
        EXPECT_EQ(world.log.take(), Texts{});
    }
};

TEST_F(CameraRollTest, APictureTypeIsToldByItsSuffixAlone) {
    for (const auto* path :
         {"/a.jpg", "/a.JPEG", "/a.Gif", "/a.thm", "/a.BMP", "/a.tiff", "/a.png", "/apng", "jpg"}) {
        EXPECT_TRUE(PodPhone::isPictureType(path)) << path;
    }
    for (const auto* path : {"/a.tif", "/a.jpg.txt", "/jpg/a", "", "/a.heic"}) {
        EXPECT_FALSE(PodPhone::isPictureType(path)) << path;
    }
}

TEST_F(CameraRollTest, TheFirstPictureGetsTheFirstNumber) {
    EXPECT_TRUE(copied("/DCIM/100APPLE/photo.JPG"));
    EXPECT_FALSE(exists("/DCIM/100APPLE/photo.JPG"));
    EXPECT_TRUE(exists("/DCIM/100APPLE/IMG_0001.JPG"));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(CameraRollTest, AJpegAndAPngNeverShareANumber) {
    EXPECT_TRUE(copied("/DCIM/100APPLE/a.jpeg"));
    EXPECT_TRUE(copied("/DCIM/100APPLE/b.PNG"));
    EXPECT_TRUE(copied("/DCIM/100APPLE/c.jpg"));
    EXPECT_TRUE(exists("/DCIM/100APPLE/IMG_0001.JPG"));
    EXPECT_TRUE(exists("/DCIM/100APPLE/IMG_0002.PNG"));
    EXPECT_TRUE(exists("/DCIM/100APPLE/IMG_0003.JPG"));
    EXPECT_TRUE(
        world.afc.content("Media", "/DCIM/100APPLE/.MISC/IMG_0002.THM").starts_with("JPEG "));
}

TEST_F(CameraRollTest, NumbersBeginBehindTheFoldersBase) {
    const auto first = [this](std::int32_t folder) {
        return phone.pathToChange("/DCIM/x/a.jpg", folder).value_or("none");
    };
    EXPECT_EQ(first(100), "/DCIM/x/IMG_0001.JPG");
    EXPECT_EQ(first(101), "/DCIM/x/IMG_1001.JPG");
    EXPECT_EQ(first(105), "/DCIM/x/IMG_5001.JPG");
    EXPECT_EQ(first(110), "/DCIM/x/IMG_10001.JPG");
    EXPECT_EQ(first(99), "/DCIM/x/IMG_-999.JPG");
    EXPECT_EQ(first(2'147'483'647), "/DCIM/x/IMG_-100999.JPG") << "as 32-bit numbers wrap";
}

TEST_F(CameraRollTest, ANumberIsTakenByEitherKind) {
    world.afc.addFile("Media", "/DCIM/100APPLE/IMG_0001.PNG", "");
    world.afc.addFile("Media", "/DCIM/100APPLE/IMG_0002.JPG", "");
    EXPECT_EQ(phone.pathToChange("/DCIM/100APPLE/a.jpg", 100), "/DCIM/100APPLE/IMG_0003.JPG");
}

TEST_F(CameraRollTest, AnyOtherEndingFindsNoName) {
    EXPECT_EQ(phone.pathToChange("/DCIM/100APPLE/a.gif", 100), std::nullopt);
    EXPECT_EQ(world.calls.count("AFCFileInfoOpen"), 198U) << "both names of 99 numbers";
}

TEST_F(CameraRollTest, TheHundredthPictureKeepsItsName) {
    for (int number = 1; number <= 98; ++number) {
        const std::string digits = std::to_string(number);
        world.afc.addFile(
            "Media", "/DCIM/100APPLE/IMG_" + std::string(4 - digits.size(), '0') + digits + ".JPG",
            "");
    }
    EXPECT_TRUE(copied("/DCIM/100APPLE/a.png"));
    EXPECT_TRUE(exists("/DCIM/100APPLE/IMG_0099.PNG"));
    world.log.take();
    expectUntouched("/DCIM/100APPLE/b.png");
}

TEST_F(CameraRollTest, OnlyPicturesDirectlyInACameraFolderAreRenamed) {
    expectUntouched("/DCIM/100APPLE/a.gif");
    expectUntouched("/DCIM/100APPLE/sub/x.jpg");
    expectUntouched("/DCIM/x.jpg");
    expectUntouched("/x.jpg");
    expectUntouched("/PhotoData/100APPLE/x.jpg");
    expectUntouched("/DCIM/100ANDRO/x.jpg");
    expectUntouched("/DCIM/100apple/x.jpg");
    expectUntouched("/DCIM/101APPLE/x.jpg");
}

TEST_F(CameraRollTest, WithoutTheDevicesBookkeepingNothingHappens) {
    world.afc.tree("Media").erase("/DCIM/.MISC/Info.plist");
    expectUntouched("/DCIM/100APPLE/a.jpg");
    EXPECT_FALSE(exists("/DCIM/.MISC/Info.plist")) << "asking must not make it";
}

TEST_F(CameraRollTest, BookkeepingThatCannotBeReadLeavesThePictureAlone) {
    world.calls.fail("AFCFileRefOpen", kAFCPermissionDenied);
    expectUntouched("/DCIM/100APPLE/a.jpg");
    EXPECT_FALSE(world.files.contents.contains(kLocalInfo));
}

TEST_F(CameraRollTest, APictureThatCannotBeReadBackSendsTheThumbnailBeforeIt) {
    EXPECT_TRUE(copied("/DCIM/100APPLE/a.jpg", "picture 100x100"));
    const std::string before = world.afc.content("Media", "/DCIM/100APPLE/.MISC/IMG_0001.THM");
    world.calls.fail("AFCFileRefOpen", kAFCPermissionDenied, 2);  // the first reads the bookkeeping
    EXPECT_TRUE(copied("/DCIM/100APPLE/b.jpg"));
    EXPECT_EQ(world.afc.content("Media", "/DCIM/100APPLE/.MISC/IMG_0002.THM"), before);
}

TEST_F(CameraRollTest, DamagedBookkeepingLeavesThePictureAlone) {
    world.afc.addFile("Media", "/DCIM/.MISC/Info.plist", "<plist><dict><key>Last");
    expectUntouched("/DCIM/100APPLE/a.jpg");
    world.afc.addFile("Media", "/DCIM/.MISC/Info.plist", "");
    expectUntouched("/DCIM/100APPLE/a.jpg");
    EXPECT_EQ(world.afc.content("Media", "/DCIM/.MISC/Info.plist"), "");
}

TEST_F(CameraRollTest, TheBookkeepingPassesThroughAFixedLocalFileThatStays) {
    EXPECT_TRUE(copied("/DCIM/100APPLE/a.jpg"));
    EXPECT_EQ(world.files.contents[kLocalInfo], "groups");
    EXPECT_EQ(world.calls.count(std::string("writeDataAtomically ") + kLocalInfo), 1U);
    EXPECT_EQ(world.afc.content("Media", "/DCIM/.MISC/Info.plist"), "groups");
}

TEST_F(CameraRollTest, ALocalFileThatCannotBeWrittenLeavesThePictureAlone) {
    world.calls.fail("writeDataAtomically", 1);
    expectUntouched("/DCIM/100APPLE/a.jpg");
}

TEST_F(CameraRollTest, TheFirstWordGoesFromTheFoldersNameAndItsNumberEndsAtTheFirstLetter) {
    keep({{"LastFileGroupNumber-100X", 1}});
    EXPECT_TRUE(copied("/DCIM/100APPLEX/a.jpg"));
    EXPECT_TRUE(exists("/DCIM/100APPLEX/IMG_0001.JPG"));
    keep({{"LastFileGroupNumber-101APPLE", "any value"}});
    EXPECT_TRUE(copied("/DCIM/101APPLEAPPLE/a.jpg"));
    EXPECT_TRUE(exists("/DCIM/101APPLEAPPLE/IMG_1001.JPG"));
}

TEST_F(CameraRollTest, ARenameThatFailsMakesNoThumbnail) {
    world.calls.fail("AFCRenamePath", kAFCPermissionDenied);
    expectUntouched("/DCIM/100APPLE/a.jpg");
    EXPECT_FALSE(world.files.contents.contains(kLocalThumbnail));
}

TEST_F(CameraRollTest, TheThumbnailShowsTheCentreAtSeventyFive) {
    EXPECT_TRUE(copied("/DCIM/100APPLE/a.png", "picture 3264x2448"));
    const std::string thumbnail = world.afc.content("Media", "/DCIM/100APPLE/.MISC/IMG_0001.THM");
    EXPECT_EQ(thumbnail,
              "JPEG 1 of grabbed (12, 0, 75, 75) of image 100x75\ninterpolation 3\n"
              "draw picture 3264x2448 in (0, 0, 100, 75) from (0, 0, 3264, 2448) operation 2 "
              "fraction 1");
    EXPECT_EQ(world.files.contents[kLocalThumbnail], thumbnail);
}

TEST_F(CameraRollTest, AThumbnailThatCannotBeCopiedIsNoFailure) {
    world.afc.tree("Media").erase("/DCIM/100APPLE/.MISC");
    EXPECT_TRUE(copied("/DCIM/100APPLE/a.jpg"));
    EXPECT_TRUE(exists("/DCIM/100APPLE/IMG_0001.JPG"));
    EXPECT_FALSE(exists("/DCIM/100APPLE/.MISC")) << "the folder is not made";
}

TEST_F(CameraRollTest, APictureThatDoesNotDecodeSendsTheThumbnailBeforeIt) {
    EXPECT_TRUE(copied("/DCIM/100APPLE/a.jpg", "picture 100x100"));
    const std::string before = world.afc.content("Media", "/DCIM/100APPLE/.MISC/IMG_0001.THM");
    EXPECT_TRUE(copied("/DCIM/100APPLE/b.jpg", "damaged"));
    EXPECT_EQ(world.log.take(), (Texts{"Could not load '<7 bytes>'"}));
    EXPECT_EQ(world.afc.content("Media", "/DCIM/100APPLE/.MISC/IMG_0002.THM"), before);
    EXPECT_EQ(world.afc.content("Media", "/DCIM/100APPLE/IMG_0002.JPG"), "damaged");
}

TEST_F(CameraRollTest, APictureThatDoesNotDecodeAndNoneBeforeItGetsNoThumbnail) {
    EXPECT_TRUE(copied("/DCIM/100APPLE/b.jpg", "damaged"));
    EXPECT_FALSE(exists("/DCIM/100APPLE/.MISC/IMG_0001.THM"));
}

TEST_F(CameraRollTest, TheSecondReleaseOfACopiedPictureNamesIt) {
    world.preferences.setObject(setting_changeNameOnCopyImages2DCIM, true);
    GMUserData file;
    ASSERT_TRUE(phone.createFileAtPath("/DCIM/100APPLE/a.jpg", {}, &file, &error));
    const std::string content = "picture 80x80";
    phone.writeFileAtPath("/DCIM/100APPLE/a.jpg", file, content.data(), content.size(), 0, &error);
    phone.releaseFileAtPath("/DCIM/100APPLE/a.jpg", file);
    EXPECT_TRUE(exists("/DCIM/100APPLE/a.jpg"));
    ASSERT_TRUE(phone.openFileAtPath("/DCIM/100APPLE/a.jpg", 0, &file, &error));
    phone.releaseFileAtPath("/DCIM/100APPLE/a.jpg", file);
    EXPECT_EQ(world.afc.content("Media", "/DCIM/100APPLE/IMG_0001.JPG"), content);
    EXPECT_FALSE(exists("/DCIM/100APPLE/a.jpg"));
    EXPECT_FALSE(phone.isAwaitingCameraRoll("/DCIM/100APPLE/a.jpg"));
}

TEST_F(CameraRollTest, ARootThatIsSwitchedMeanwhileIsNotTouched) {
    world.afc.addFile("Media", "/DCIM/100APPLE/a.jpg", "picture 80x80");
    world.afc.runAfterNextAnswer([this] {
        world.afc.AFCConnectionClose(phone.myConnection());
        phone.setMyConnection(0);
    });
    EXPECT_FALSE(phone.createThumbnailForDCIM("/DCIM/100APPLE/a.jpg"));
    EXPECT_TRUE(exists("/DCIM/100APPLE/a.jpg"));
}

}  // namespace
}  // namespace quillbox::fakes
