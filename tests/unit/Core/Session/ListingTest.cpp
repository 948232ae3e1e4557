// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

#include <cerrno>

namespace quillbox::fakes {
namespace {

class ListingTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        world.afc.addDirectory("Media", "/DCIM");
        world.afc.addFile("Media", "/DCIM/a.jpg", "picture");
        world.calls.take();
    }

    std::optional<Texts> list(const std::string& path) {
        error.reset();
        return phone.contentsOfDirectoryAtPath(path, &error);
    }
};

TEST_F(ListingTest, ADirectoryCostsOneInformationOneOpenOneReadForEachNameAndOneClose) {
    EXPECT_EQ(list("/DCIM"), (Texts{".", "..", "a.jpg"}));
    EXPECT_EQ(world.calls.take(),
              (Texts{"AFCFileInfoOpen /DCIM", "AFCKeyValueClose", "AFCDirectoryOpen /DCIM",
                     "AFCDirectoryRead", "AFCDirectoryRead", "AFCDirectoryRead", "AFCDirectoryRead",
                     "AFCDirectoryClose"}));
    EXPECT_EQ(world.afc.openDirectories(), 0U);
    EXPECT_EQ(world.log.take(),
              (Texts{"contentsOfDirectoryAtPath:error:/DCIM", "contents = ( ., .., a.jpg )"}));
    EXPECT_EQ(codeOf(error), 0);
}

TEST_F(ListingTest, NamesComeInTheDevicesOrderUnfiltered) {
    world.afc.scriptListing("/DCIM", {"z", ".hidden", "..", "a", "A"});
    EXPECT_EQ(list("/DCIM"), (Texts{"z", ".hidden", "..", "a", "A"}));
}

TEST_F(ListingTest, AnEmptyDirectoryIsAnEmptyListAndNotNone) {
    world.afc.scriptListing("/DCIM", {});
    EXPECT_EQ(list("/DCIM"), Texts{});
}

TEST_F(ListingTest, AFileCannotBeListed) {
    EXPECT_EQ(list("/DCIM/a.jpg"), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.calls.count("AFCDirectoryOpen /DCIM/a.jpg"), 1U);
}

TEST_F(ListingTest, AMissingPathIsNotOpened) {
    EXPECT_EQ(list("/none"), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileInfoOpen /none"}));
    EXPECT_EQ(phone.currentDirectory(), "/none");
}

TEST_F(ListingTest, AFailedFirstReadLeavesTheDirectoryOpen) {
    world.calls.fail("AFCDirectoryRead", 1);
    EXPECT_EQ(list("/DCIM"), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.afc.openDirectories(), 1U);
    EXPECT_EQ(world.log.take(), (Texts{"contentsOfDirectoryAtPath:error:/DCIM"}));
}

TEST_F(ListingTest, AFailedLaterReadIsLoggedAndNeverGivesAShortList) {
    world.calls.fail("AFCDirectoryRead", 1, 3);
    EXPECT_EQ(list("/DCIM"), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.afc.openDirectories(), 1U);
    EXPECT_EQ(world.log.take(),
              (Texts{"contentsOfDirectoryAtPath:error:/DCIM", "Error: AFCDirectoryRead"}));
}

TEST_F(ListingTest, AFailedCloseIsLoggedAndGivesNone) {
    world.calls.fail("AFCDirectoryClose", 1);
    EXPECT_EQ(list("/DCIM"), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.log.take(),
              (Texts{"contentsOfDirectoryAtPath:error:/DCIM", "Error: AFCDirectoryClose"}));
}

TEST_F(ListingTest, AnApplicationsDocumentsAreListedButTheVolumePathIsRemembered) {
    switchToApplication(true);
    EXPECT_EQ(list("/"), (Texts{".", ".."}));
    EXPECT_EQ(world.calls.count("AFCDirectoryOpen /Documents"), 1U);
    EXPECT_EQ(phone.currentDirectory(), "/");
    EXPECT_EQ(world.log.take().front(), "contentsOfDirectoryAtPath:error:/Documents");
}

TEST_F(ListingTest, AMissingErrorParameterIsNoHarm) {
    EXPECT_EQ(phone.contentsOfDirectoryAtPath("/none", nullptr), std::nullopt);
}

TEST_F(ListingTest, NothingIsLoggedWhereDebugLinesAreNotWritten) {
    world.log.setLevel(LogLevel::Info);
    list("/DCIM");
    list("/none");
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(ListingTest, PathsAreMappedOnlyForApplicationsAndOnlyForTheValueOne) {
    appMountPathIndex_ = 1;
    EXPECT_EQ(phone.devicePathForVolumePath("/a/b.txt"), "/a/b.txt");
    switchToApplication(true);
    EXPECT_EQ(phone.devicePathForVolumePath("/a/b.txt"), "/Documents/a/b.txt");
    EXPECT_EQ(phone.devicePathForVolumePath("/"), "/Documents");
    for (const std::int64_t other : {0, 2, -1}) {
        appMountPathIndex_ = other;
        EXPECT_EQ(phone.devicePathForVolumePath("/a/b.txt"), "/a/b.txt");
    }
}

class QueryTest : public ListingTest {};

TEST_F(QueryTest, FileInformationHoldsEveryPair) {
    world.afc.tree("Media").at("/DCIM/a.jpg").info =
        InfoPairs{{"st_size", "7"}, {"odd", "x"}, {"st_size", "8"}};
    EXPECT_EQ(phone.GetFileInfo("/DCIM/a.jpg"), (FileInfo{{"st_size", "8"}, {"odd", "x"}}));
    EXPECT_EQ(world.calls.take(),
              (Texts{"AFCFileInfoOpen /DCIM/a.jpg", "AFCKeyValueRead", "AFCKeyValueRead",
                     "AFCKeyValueRead", "AFCKeyValueRead", "AFCKeyValueClose"}));
}

TEST_F(QueryTest, APathWithoutLeadingSlashIsTakenFromTheTop) {
    EXPECT_TRUE(phone.GetFileInfo("DCIM/a.jpg"));
    EXPECT_EQ(world.calls.count("AFCFileInfoOpen /DCIM/a.jpg"), 1U);
}

TEST_F(QueryTest, FileInformationFailsWithAnyOfItsCalls) {
    EXPECT_EQ(phone.GetFileInfo("/none"), std::nullopt);
    world.calls.fail("AFCKeyValueRead", 1);
    EXPECT_EQ(phone.GetFileInfo("/DCIM"), std::nullopt);
    EXPECT_EQ(world.afc.openAnswers(), 1U);
    world.calls.fail("AFCKeyValueRead", 1, 3);
    EXPECT_EQ(phone.GetFileInfo("/DCIM"), std::nullopt);
    EXPECT_EQ(world.afc.openAnswers(), 2U);
    world.calls.fail("AFCKeyValueClose", 1);
    EXPECT_EQ(phone.GetFileInfo("/DCIM"), std::nullopt);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(QueryTest, QuestionsAreNotMapped) {
    switchToApplication(true);
    EXPECT_TRUE(phone.fileExistsOnDevice("/Documents"));
    EXPECT_TRUE(phone.directoryExistsOnDevice("/Documents"));
    EXPECT_TRUE(phone.isDirectory("/Documents"));
}

TEST_F(QueryTest, ALinkCountsAsADirectory) {
    world.afc.tree("Media").insert_or_assign("/link", Node{.format = "S_IFLNK"});
    EXPECT_TRUE(phone.isDirectory("/link"));
    EXPECT_TRUE(phone.isDirectory("/DCIM"));
    EXPECT_FALSE(phone.isDirectory("/DCIM/a.jpg"));
    EXPECT_FALSE(phone.isDirectory("/none"));
}

TEST_F(QueryTest, SizesAndDatesOfUnknownPathsAreZeroAndTheEpoch) {
    EXPECT_EQ(phone.getFileSize("/DCIM/a.jpg"), 7);
    EXPECT_EQ(phone.getFileSize("/none"), 0);
    EXPECT_EQ(phone.getDateModified("/DCIM/a.jpg"), PropertyDate(std::chrono::seconds(1500000000)));
    EXPECT_EQ(phone.getDateModified("/none"), PropertyDate());
}

TEST_F(QueryTest, ExistenceIsOneInformationRequestThatIsNotRead) {
    EXPECT_TRUE(phone.fileExistsOnDevice("/DCIM"));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileInfoOpen /DCIM", "AFCKeyValueClose"}));
    EXPECT_FALSE(phone.fileExistsOnDevice("/none"));
    EXPECT_EQ(world.afc.openAnswers(), 0U);
}

TEST_F(QueryTest, ADirectoryExistsWhenItCanBeOpened) {
    EXPECT_TRUE(phone.directoryExistsOnDevice("/DCIM"));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCDirectoryOpen /DCIM", "AFCDirectoryClose"}));
    EXPECT_FALSE(phone.directoryExistsOnDevice("/DCIM/a.jpg"));
}

TEST_F(QueryTest, ExistenceTellsDirectoriesFromFiles) {
    bool isDirectory = false;
    EXPECT_TRUE(phone.existsOnDevice("/DCIM", &isDirectory));
    EXPECT_TRUE(isDirectory);
    EXPECT_TRUE(phone.existsOnDevice("/DCIM/a.jpg", &isDirectory));
    EXPECT_FALSE(isDirectory);
    isDirectory = true;
    EXPECT_FALSE(phone.existsOnDevice("/none", &isDirectory));
    EXPECT_FALSE(isDirectory);
}

}  // namespace
}  // namespace quillbox::fakes
