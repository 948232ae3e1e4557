// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/LocalFiles.h"
#include "HostTesting.h"
#include "Linux/Host/PrivateFolder.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace quillbox::host {

namespace {

class LocalFilesTest : public testing::Test {
protected:
    LocalFilesTest() { std::filesystem::create_directory(folder_ / "Volumes"); }

    std::string volume(const std::string& name) const { return folder_ / ("Volumes/" + name); }

    TestFolder folder_;
    LocalFiles files_{folder_ / "Volumes"};
};

TEST_F(LocalFilesTest, FilesFoldersAndDanglingLinksExist) {
    writeText(folder_ / "file", "");
    std::filesystem::create_symlink("nowhere", folder_ / "link");
    EXPECT_TRUE(files_.fileExistsAtPath(folder_ / "file"));
    EXPECT_TRUE(files_.fileExistsAtPath(folder_ / "link"));
    EXPECT_TRUE(files_.fileExistsAtPath(folder_ / "Volumes"));
    EXPECT_TRUE(files_.fileExistsAtPath(folder_ / "Volumes/"));
    EXPECT_FALSE(files_.fileExistsAtPath(folder_ / "nothing"));
    EXPECT_FALSE(files_.fileExistsAtPath(""));
}

TEST_F(LocalFilesTest, NamesInTheVolumesFolderComeFromItsListing) {
    std::filesystem::create_directory(volume("Blue Phone"));
    EXPECT_TRUE(files_.fileExistsAtPath(volume("Blue Phone")));
    EXPECT_TRUE(files_.fileExistsAtPath(volume("./Blue Phone/")));
    EXPECT_FALSE(files_.fileExistsAtPath(volume("Blue Phone 2")));
    EXPECT_FALSE(files_.fileExistsAtPath(volume("blue phone")));
}

TEST_F(LocalFilesTest, NothingIsResolvedOnAVolume) {
    writeText(volume("Blue Phone/file"), "x");
    EXPECT_FALSE(files_.fileExistsAtPath(volume("Blue Phone/file")));
    EXPECT_FALSE(files_.removeItemAtPath(volume("Blue Phone/file")));
    std::string error;
    EXPECT_FALSE(files_.createDirectoryAtPath(volume("Blue Phone/new/deep"), &error));
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(readText(volume("Blue Phone/file")), "x");
}

TEST_F(LocalFilesTest, ANameThatAVolumeWasAskedForUnderIsTakenBeforeItsFolderIsThere) {
    EXPECT_FALSE(files_.fileExistsAtPath(volume("Blue Phone")));
    files_.setClaims([this] { return std::vector{volume("Blue Phone")}; });
    EXPECT_TRUE(files_.fileExistsAtPath(volume("Blue Phone")));
    EXPECT_FALSE(files_.fileExistsAtPath(volume("Red Phone")));
}

TEST_F(LocalFilesTest, NamesOfVolumesThatAreGoneCountAsFree) {
    std::filesystem::create_directory(volume("Blue Phone"));
    std::filesystem::create_directory(volume("Red Phone"));
    files_.setTombstones([this] { return std::vector{volume("Blue Phone")}; });
    EXPECT_FALSE(files_.fileExistsAtPath(volume("Blue Phone")));
    EXPECT_TRUE(files_.fileExistsAtPath(volume("Red Phone")));
}

TEST_F(LocalFilesTest, FoldersAreMadeWithTheirParents) {
    std::string error;
    EXPECT_TRUE(files_.createDirectoryAtPath(folder_ / "a/b/c", &error)) << error;
    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "a/b/c"));
    EXPECT_TRUE(files_.createDirectoryAtPath(folder_ / "a/b/c", &error));
    EXPECT_TRUE(files_.createDirectoryAtPath(volume("New"), &error));
    EXPECT_TRUE(std::filesystem::is_directory(volume("New")));
    writeText(folder_ / "file", "");
    EXPECT_FALSE(files_.createDirectoryAtPath(folder_ / "file/x", &error));
    EXPECT_EQ(error, "Not a directory");
    EXPECT_FALSE(files_.createDirectoryAtPath(folder_ / "file", &error));
}

TEST_F(LocalFilesTest, ATreeIsRemovedAndLinksAreNotFollowed) {
    writeText(folder_ / "outside/kept", "x");
    writeText(folder_ / "tree/a/b/file", "x");
    writeText(folder_ / "tree/c", "x");
    std::filesystem::create_directory(folder_ / "tree/empty");
    std::filesystem::create_directory_symlink(folder_ / "outside", folder_ / "tree/link");
    EXPECT_TRUE(files_.removeItemAtPath(folder_ / "tree/"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "tree"));
    std::filesystem::create_directory_symlink(folder_ / "outside", folder_ / "link");
    EXPECT_TRUE(files_.removeItemAtPath(folder_ / "link"));
    EXPECT_EQ(readText(folder_ / "outside/kept"), "x");
    EXPECT_FALSE(files_.removeItemAtPath(folder_ / "nothing"));
    EXPECT_FALSE(files_.removeItemAtPath(""));
    EXPECT_FALSE(files_.removeItemAtPath("/"));
}

TEST_F(LocalFilesTest, AMountInATreeIsNotCrossed) {
    writeText(folder_ / "tree/file", "x");
    std::filesystem::create_directory(folder_ / "tree/mounted");
    ASSERT_EQ(::mount("none", (folder_ / "tree/mounted").c_str(), "tmpfs", 0, ""), 0)
        << "this test mounts a file system of its own and needs the right to do so";
    writeText(folder_ / "tree/mounted/kept", "x");
    EXPECT_FALSE(files_.removeItemAtPath(folder_ / "tree"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "tree/file"));
    EXPECT_EQ(readText(folder_ / "tree/mounted/kept"), "x");
    EXPECT_FALSE(files_.removeItemAtPath(folder_ / "tree/mounted"));
    EXPECT_EQ(readText(folder_ / "tree/mounted/kept"), "x");
    ASSERT_EQ(::umount((folder_ / "tree/mounted").c_str()), 0);
    EXPECT_TRUE(files_.removeItemAtPath(folder_ / "tree"));
}

class VolumesFolderTest : public testing::Test {
protected:
    TestFolder folder_;
    std::string error_;
};

TEST_F(VolumesFolderTest, TheGivenFolderIsMadeAndMadeAbsolute) {
    EXPECT_EQ(chooseVolumesFolder(folder_ / "a/../given/", "/x", "/y", &error_), folder_ / "given");
    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "given"));
    std::filesystem::create_directory_symlink(folder_ / "given", folder_ / "link");
    EXPECT_EQ(chooseVolumesFolder(folder_ / "link", "/x", "/y", &error_), folder_ / "given");
}

TEST_F(VolumesFolderTest, AGivenFolderThatCannotBeUsedIsAnErrorAndNotReplaced) {
    writeText(folder_ / "file", "");
    EXPECT_FALSE(chooseVolumesFolder(folder_ / "file", folder_ / "s", folder_ / "h", &error_));
    EXPECT_FALSE(error_.empty());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "s"));
}

TEST_F(VolumesFolderTest, TheStandardFolderComesFirstThenTheUsersOwn) {
    EXPECT_EQ(chooseVolumesFolder({}, folder_ / "standard", folder_ / "home", &error_),
              folder_ / "standard");
    writeText(folder_ / "file", "");
    EXPECT_EQ(chooseVolumesFolder({}, folder_ / "file/standard", folder_ / "home", &error_),
              folder_ / "home/Volumes");
    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "home/Volumes"));
}

TEST(PrivateFolderTest, IsPrivateAndGoesWithWhatItHolds) {
    const TestFolder parent;
    std::string error;
    std::string path;
    {
        const auto folder = PrivateFolder::make(parent.path(), &error);
        ASSERT_TRUE(folder) << error;
        path = folder->path();
        struct stat status = {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0700U);
        writeText(path + "/a/b", "x");
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(PrivateFolder::make(parent / "nowhere", &error));
    EXPECT_FALSE(error.empty());
}

}  // namespace

}  // namespace quillbox::host
