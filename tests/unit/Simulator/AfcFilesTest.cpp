// SPDX-License-Identifier: GPL-3.0-or-later
#include "AfcFiles.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

namespace quillbox::simulator {
namespace {

namespace fs = std::filesystem;
using Status = wire::AfcStatus;
using wire::AfcOpenMode;

class AfcFilesTest : public testing::Test {
protected:
    AfcFilesTest() {
        fs::create_directories(root() / "folder/inner");
        write(root() / "folder/file", "content");
        write(folder_.path() / "outside", "secret");
    }

    [[nodiscard]] fs::path root() const { return folder_.path() / "root"; }

    static void write(const fs::path& file, std::string_view text) {
        fs::create_directories(file.parent_path());
        std::ofstream{file} << text;
    }

    static std::string read(const fs::path& file) {
        std::ifstream stream{file};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    AfcFiles& files() {
        if (!files_) {
            files_ = std::make_unique<AfcFiles>(AfcArea{root(), {}, {}});
        }
        return *files_;
    }

    std::map<std::string, std::string> info(const std::string& path) {
        std::vector<wire::KeyValue> keys;
        EXPECT_EQ(files().info(path, keys), Status::Success) << path;
        return {keys.begin(), keys.end()};
    }

    TemporaryFolder folder_;
    std::unique_ptr<AfcFiles> files_;
};

TEST(NormalizedPath, HasOneSlashBeforeEachName) {
    EXPECT_EQ(normalizedPath(""), "/");
    EXPECT_EQ(normalizedPath("/"), "/");
    EXPECT_EQ(normalizedPath("a//b/./c/"), "/a/b/c");
    EXPECT_EQ(normalizedPath("/a/../../b"), "/b");
    EXPECT_EQ(normalizedPath("/.."), "/");
    EXPECT_EQ(normalizedPath("/..."), "/...");
}

TEST_F(AfcFilesTest, ListsNamesWithTheDots) {
    std::vector<std::string> names;
    ASSERT_EQ(files().list("/folder", names), Status::Success);
    std::ranges::sort(names);
    EXPECT_EQ(names, (std::vector<std::string>{".", "..", "file", "inner"}));
    EXPECT_EQ(files().list("/nowhere", names), Status::ObjectNotFound);
    EXPECT_EQ(files().list("/folder/file", names), Status::ReadError);
}

TEST_F(AfcFilesTest, InfoTellsKindSizeAndTimes) {
    const auto file = info("/folder/file");
    EXPECT_EQ(file.at("st_ifmt"), "S_IFREG");
    EXPECT_EQ(file.at("st_size"), "7");
    EXPECT_EQ(file.at("st_nlink"), "1");
    EXPECT_FALSE(file.contains("LinkTarget"));
    EXPECT_TRUE(file.contains("st_blocks"));
    EXPECT_TRUE(file.contains("st_birthtime"));
    EXPECT_EQ(info("/folder").at("st_ifmt"), "S_IFDIR");
    EXPECT_EQ(info("/").at("st_ifmt"), "S_IFDIR");
    std::vector<wire::KeyValue> keys;
    EXPECT_EQ(files().info("/nowhere", keys), Status::ObjectNotFound);
}

TEST_F(AfcFilesTest, InfoDoesNotFollowLinks) {
    fs::create_symlink("nowhere", root() / "dangling");
    const auto link = info("/dangling");
    EXPECT_EQ(link.at("st_ifmt"), "S_IFLNK");
    EXPECT_EQ(link.at("LinkTarget"), "nowhere");
}

TEST_F(AfcFilesTest, ModificationTimeKeepsItsNanoseconds) {
    ASSERT_EQ(files().setModificationTime("/folder/file", 1'234'567'890'123'456'789),
              Status::Success);
    EXPECT_EQ(info("/folder/file").at("st_mtime"), "1234567890123456789");
    ASSERT_EQ(files().setModificationTime("/folder", -1), Status::Success);
    EXPECT_EQ(info("/folder").at("st_mtime"), "-1");
    EXPECT_EQ(files().setModificationTime("/nowhere", 0), Status::ObjectNotFound);
}

TEST_F(AfcFilesTest, OpenModesDoWhatTheirNamesSay) {
    const auto open = [&](const std::string& path, AfcOpenMode mode) {
        UniqueFd file;
        const Status status = files().open(path, mode, file);
        EXPECT_EQ(static_cast<bool>(file), status == Status::Success);
        return status;
    };
    EXPECT_EQ(open("/new", AfcOpenMode::Read), Status::ObjectNotFound);
    EXPECT_EQ(open("/folder/file", AfcOpenMode::Read), Status::Success);
    EXPECT_EQ(open("/folder/file", AfcOpenMode::ReadWrite), Status::Success);
    EXPECT_EQ(open("/folder/file", AfcOpenMode::Append), Status::Success);
    EXPECT_EQ(open("/folder/file", AfcOpenMode::ReadAppend), Status::Success);
    EXPECT_EQ(read(root() / "folder/file"), "content");
    EXPECT_EQ(open("/folder/file", AfcOpenMode::WriteTruncate), Status::Success);
    EXPECT_EQ(read(root() / "folder/file"), "");
    write(root() / "folder/file", "again");
    EXPECT_EQ(open("/folder/file", AfcOpenMode::ReadTruncate), Status::Success);
    EXPECT_EQ(read(root() / "folder/file"), "");
    for (const auto mode :
         {AfcOpenMode::ReadWrite, AfcOpenMode::WriteTruncate, AfcOpenMode::ReadTruncate,
          AfcOpenMode::Append, AfcOpenMode::ReadAppend}) {
        const std::string name = "/made" + std::to_string(static_cast<int>(mode));
        EXPECT_EQ(open(name, mode), Status::Success);
        EXPECT_TRUE(fs::exists(root() / name.substr(1)));
    }
    EXPECT_EQ(open("/folder", AfcOpenMode::Read), Status::ObjectIsDirectory);
    EXPECT_EQ(open("/folder", AfcOpenMode::ReadWrite), Status::ObjectIsDirectory);
    EXPECT_EQ(open("/folder/file", static_cast<AfcOpenMode>(0)), Status::InvalidArgument);
    EXPECT_EQ(open("/folder/file", static_cast<AfcOpenMode>(7)), Status::InvalidArgument);
}

TEST_F(AfcFilesTest, TruncateCutsAndExtends) {
    EXPECT_EQ(files().truncate("/folder/file", 3), Status::Success);
    EXPECT_EQ(read(root() / "folder/file"), "con");
    EXPECT_EQ(files().truncate("/folder/file", std::uint64_t{5} << 30U), Status::Success);
    EXPECT_EQ(fs::file_size(root() / "folder/file"), std::uintmax_t{5} << 30U);
    EXPECT_EQ(files().truncate("/nowhere", 0), Status::ObjectNotFound);
    EXPECT_EQ(files().truncate("/folder", 0), Status::ObjectIsDirectory);
    EXPECT_EQ(files().truncate("/folder/file", ~std::uint64_t{0}), Status::InvalidArgument);
}

TEST_F(AfcFilesTest, RemoveTakesFilesAndEmptyFolders) {
    EXPECT_EQ(files().remove("/folder"), Status::DirectoryNotEmpty);
    EXPECT_EQ(files().remove("/folder/inner"), Status::Success);
    EXPECT_EQ(files().remove("/folder/file"), Status::Success);
    EXPECT_EQ(files().remove("/folder"), Status::Success);
    EXPECT_EQ(files().remove("/folder"), Status::ObjectNotFound);
    EXPECT_EQ(files().remove("/"), Status::PermissionDenied);
}

TEST_F(AfcFilesTest, RemoveAllTakesTheTreeAndNoLinksTarget) {
    write(folder_.path() / "kept/file", "kept");
    fs::create_directory_symlink(folder_.path() / "kept", root() / "folder/link");
    EXPECT_EQ(files().removeAll("/folder"), Status::Success);
    EXPECT_FALSE(fs::exists(root() / "folder"));
    EXPECT_EQ(read(folder_.path() / "kept/file"), "kept");
    EXPECT_EQ(files().removeAll("/folder"), Status::ObjectNotFound);
    EXPECT_EQ(files().removeAll("/"), Status::PermissionDenied);
}

TEST_F(AfcFilesTest, MakeDirectoryMakesMissingParents) {
    EXPECT_EQ(files().makeDirectory("/a/b/c"), Status::Success);
    EXPECT_TRUE(fs::is_directory(root() / "a/b/c"));
    EXPECT_EQ(files().makeDirectory("/a/b"), Status::Success) << "it is there already";
    EXPECT_EQ(files().makeDirectory("/folder/file"), Status::ObjectExists);
    EXPECT_EQ(files().makeDirectory("/folder/file/below"), Status::ObjectNotFound);
    EXPECT_EQ(files().makeDirectory("/" + std::string(256, 'n')), Status::InvalidArgument);
}

TEST_F(AfcFilesTest, RenameReplacesAFile) {
    write(root() / "target", "old");
    EXPECT_EQ(files().rename("/folder/file", "/target"), Status::Success);
    EXPECT_EQ(read(root() / "target"), "content");
    EXPECT_EQ(files().rename("/nowhere", "/target"), Status::ObjectNotFound);
    EXPECT_EQ(files().rename("/target", "/folder"), Status::ObjectIsDirectory);
    write(root() / "full/file", "x");
    EXPECT_EQ(files().rename("/folder", "/full"), Status::DirectoryNotEmpty);
    EXPECT_EQ(files().rename("/folder", "/folder/inner/self"), Status::InvalidArgument);
}

TEST_F(AfcFilesTest, MakesLinksOfBothKinds) {
    EXPECT_EQ(files().makeHardLink("/folder/file", "/hard"), Status::Success);
    EXPECT_EQ(info("/hard").at("st_nlink"), "2");
    EXPECT_EQ(files().makeSymbolicLink("folder/file", "/soft"), Status::Success);
    EXPECT_EQ(info("/soft").at("LinkTarget"), "folder/file");
    EXPECT_EQ(files().makeSymbolicLink("x", "/soft"), Status::ObjectExists);
    EXPECT_EQ(files().makeHardLink("/nowhere", "/other"), Status::ObjectNotFound);
    UniqueFd file;
    EXPECT_EQ(files().open("/soft", AfcOpenMode::Read, file), Status::Success);
}

TEST_F(AfcFilesTest, NothingLeadsOutOfTheRoot) {
    fs::create_symlink("../outside", root() / "up");
    fs::create_symlink(folder_.path() / "outside", root() / "absolute");
    fs::create_directory_symlink("..", root() / "parent");
    UniqueFd file;
    for (const char* path : {"/up", "/absolute", "/parent/outside", "/../outside", "../outside",
                             "/folder/../../outside"}) {
        EXPECT_EQ(files().open(path, AfcOpenMode::Read, file), Status::ObjectNotFound) << path;
    }
    EXPECT_EQ(files().rename("/folder/file", "/parent/outside"), Status::Success);
    EXPECT_EQ(read(folder_.path() / "outside"), "secret");
    EXPECT_EQ(read(root() / "outside"), "content") << "the parent of the root is the root";
}

TEST_F(AfcFilesTest, AnAbsoluteLinkBeginsAtTheRoot) {
    fs::create_symlink("/folder/file", root() / "absolute");
    UniqueFd file;
    EXPECT_EQ(files().open("/absolute", AfcOpenMode::Read, file), Status::Success);
}

TEST_F(AfcFilesTest, APartLiesInAnotherFolder) {
    write(folder_.path() / "media/picture", "pixels");
    fs::create_directories(root() / "var/Media");
    AfcFiles parted{AfcArea{root(), {{"/var/Media", folder_.path() / "media"}}, {}}};
    std::vector<std::string> names;
    ASSERT_EQ(parted.list("/var/Media", names), Status::Success);
    EXPECT_NE(std::ranges::find(names, "picture"), names.end());
    EXPECT_EQ(parted.makeDirectory("/var/Media/made"), Status::Success);
    EXPECT_TRUE(fs::is_directory(folder_.path() / "media/made"));
    names.clear();
    EXPECT_EQ(parted.list("/var/MediaOther", names), Status::ObjectNotFound);
}

TEST_F(AfcFilesTest, OnlyWhatLiesBelowTheDocumentsIsReached) {
    write(root() / "Documents/text", "words");
    AfcFiles documents{AfcArea{root(), {}, "/Documents"}};
    std::vector<std::string> names;
    std::vector<wire::KeyValue> keys;
    EXPECT_EQ(documents.list("/Documents", names), Status::Success);
    EXPECT_EQ(documents.info("/Documents/text", keys), Status::Success);
    EXPECT_EQ(documents.makeDirectory("/Documents/a/b"), Status::Success);
    EXPECT_EQ(documents.list("/", names), Status::PermissionDenied);
    EXPECT_EQ(documents.info("/", keys), Status::PermissionDenied);
    EXPECT_EQ(documents.info("/folder/file", keys), Status::PermissionDenied);
    EXPECT_EQ(documents.info("/Documents/../folder/file", keys), Status::PermissionDenied);
    EXPECT_EQ(documents.info("/DocumentsToo", keys), Status::PermissionDenied);
    EXPECT_EQ(documents.rename("/Documents/text", "/text"), Status::PermissionDenied);
    EXPECT_EQ(documents.makeDirectory("/made"), Status::PermissionDenied);
    EXPECT_EQ(documents.remove("/folder/file"), Status::PermissionDenied);
}

TEST_F(AfcFilesTest, ARootThatIsNotThereIsToldAtOnce) {
    EXPECT_THROW(AfcFiles({folder_.path() / "nowhere", {}, {}}), std::system_error);
}

}  // namespace
}  // namespace quillbox::simulator
