// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostTesting.h"
#include "Linux/Host/LocalFiles.h"
#include "Linux/Host/PlistConversion.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace quillbox::host {

namespace {

/// Files of fixed names in a folder that everybody can write to.
class OwnFilesTest : public testing::Test {
protected:
    OwnFilesTest() {
        std::filesystem::create_directory(folder_ / "Volumes");
        std::filesystem::create_directory(folder_ / "shared");
        ::chmod((folder_ / "shared").c_str(), 01777);
        files_.setPropertyListReader(
            [](std::string_view bytes) { return dictionaryFromPlistText(std::string(bytes)); });
    }

    std::string shared(const std::string& name) const { return folder_ / ("shared/" + name); }

    static PropertyData bytes(const std::string& text) { return {text.begin(), text.end()}; }

    /// What can be read through the port; "(refused)" where it does not open.
    std::string read(const std::string& path) {
        const int file = files_.open(path, kHostReadOnly, 0444);
        if (file < 0) {
            return "(refused)";
        }
        std::array<char, 64> buffer{};
        const auto count = files_.read(file, buffer.data(), buffer.size());
        files_.close(file);
        return {buffer.data(), static_cast<std::size_t>(count)};
    }

    static unsigned modeOf(const std::string& path) {
        struct stat status = {};
        return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
    }

    TestFolder folder_;
    LocalFiles files_{folder_ / "Volumes"};
};

TEST_F(OwnFilesTest, WhatIsWrittenIsReadableByTheUserAlone) {
    EXPECT_TRUE(files_.writeDataAtomically(shared("info"), bytes("content")));
    EXPECT_EQ(modeOf(shared("info")), 0600U);
    EXPECT_EQ(read(shared("info")), "content");
    EXPECT_TRUE(files_.writeDataAtomically(shared("info"), bytes("again")));
    EXPECT_EQ(read(shared("info")), "again");
    EXPECT_EQ(files_.fileSizeAtPath(shared("info")), 5U);
}

TEST_F(OwnFilesTest, ALinkIsReplacedAndItsTargetLeftAlone) {
    writeText(folder_ / "precious", "precious");
    std::filesystem::create_symlink(folder_ / "precious", shared("info"));
    EXPECT_TRUE(files_.writeDataAtomically(shared("info"), bytes("content")));
    EXPECT_EQ(readText(folder_ / "precious"), "precious");
    EXPECT_FALSE(std::filesystem::is_symlink(shared("info")));
}

TEST_F(OwnFilesTest, ALinkIsNeverFollowedToAFilesContent) {
    writeText(folder_ / "secret", "secret");
    std::filesystem::create_symlink(folder_ / "secret", shared("info"));
    EXPECT_EQ(read(shared("info")), "(refused)");
    EXPECT_LT(files_.open(shared("info"), kHostReadWrite | kHostCreate, 0777), 0);
    EXPECT_EQ(files_.fileSizeAtPath(shared("info")), std::nullopt);
    EXPECT_EQ(readText(folder_ / "secret"), "secret");
    std::filesystem::create_symlink(folder_ / "nowhere", shared("dangling"));
    EXPECT_LT(files_.open(shared("dangling"), kHostReadWrite | kHostCreate, 0777), 0);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "nowhere"));
}

TEST_F(OwnFilesTest, AFileWithASecondNameIsRefusedWhereOthersCanMakeNames) {
    writeText(folder_ / "secret", "secret");
    std::filesystem::create_hard_link(folder_ / "secret", shared("info"));
    EXPECT_EQ(read(shared("info")), "(refused)");
    std::filesystem::create_hard_link(folder_ / "secret", folder_ / "second");
    EXPECT_EQ(read(folder_ / "second"), "secret") << "this folder is the user's own";
}

TEST_F(OwnFilesTest, AFileOfAnotherUserIsRefused) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make a file of another user";
    }
    constexpr uid_t kSomebody = 4711;
    writeText(shared("info"), "planted");
    ASSERT_EQ(::chown(shared("info").c_str(), kSomebody, kSomebody), 0);
    EXPECT_EQ(read(shared("info")), "(refused)");
    EXPECT_LT(files_.open(shared("info"), kHostReadWrite | kHostCreate, 0777), 0);
    EXPECT_EQ(files_.dictionaryWithContentsOfFile(shared("info")), std::nullopt);
    EXPECT_EQ(readText(shared("info")), "planted");
}

TEST_F(OwnFilesTest, AnotherUsersFileInAStickyFolderCannotBeReplaced) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    constexpr uid_t kSomebody = 4711;
    writeText(shared("info"), "of root");
    ::chmod(folder_.path().c_str(), 0755);
    ASSERT_EQ(::seteuid(kSomebody), 0);
    const bool isWritten = files_.writeDataAtomically(shared("info"), bytes("mine"));
    const std::string seen = read(shared("info"));
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_FALSE(isWritten);
    EXPECT_EQ(seen, "(refused)");
    EXPECT_EQ(readText(shared("info")), "of root");
    std::size_t left = 0;
    for ([[maybe_unused]] const auto& each :
         std::filesystem::directory_iterator(folder_ / "shared")) {
        ++left;
    }
    EXPECT_EQ(left, 1U) << "nothing is left beside it";
}

TEST_F(OwnFilesTest, NothingButAPlainFileIsOpenedAndNobodyWaitsForAPipe) {
    ASSERT_EQ(::mkfifo(shared("pipe").c_str(), 0600), 0);
    EXPECT_EQ(read(shared("pipe")), "(refused)");
    EXPECT_EQ(read(folder_ / "shared"), "(refused)");
    EXPECT_EQ(read("/dev/null"), "(refused)");
    EXPECT_EQ(files_.fileSizeAtPath(folder_ / "shared"), std::nullopt);
}

TEST_F(OwnFilesTest, FilesAreMadeReadAndWrittenAndNeverEmptied) {
    const int file = files_.open(folder_ / "new", kHostReadWrite | kHostCreate, 0777);
    ASSERT_GE(file, 0);
    EXPECT_EQ(files_.write(file, "abcdef", 6), 6);
    files_.close(file);
    EXPECT_EQ(modeOf(folder_ / "new") & 0700U, 0700U);
    const int again = files_.open(folder_ / "new", kHostReadWrite | kHostCreate, 0777);
    EXPECT_EQ(files_.write(again, "X", 1), 1);
    files_.close(again);
    EXPECT_EQ(readText(folder_ / "new"), "Xbcdef");
    EXPECT_LT(files_.open(folder_ / "missing", kHostReadOnly, 0444), 0);
    EXPECT_EQ(files_.write(-1, "x", 1), -1);
    EXPECT_EQ(files_.read(-1, nullptr, 0), 0);
}

TEST_F(OwnFilesTest, NothingIsOpenedOrWrittenOnAVolume) {
    writeText(folder_ / "Volumes/Phone/file", "x");
    EXPECT_EQ(read(folder_ / "Volumes/Phone/file"), "(refused)");
    EXPECT_FALSE(files_.writeDataAtomically(folder_ / "Volumes/Phone/file", bytes("y")));
    EXPECT_FALSE(files_.writeDataAtomically("", bytes("y")));
    EXPECT_EQ(files_.fileSizeAtPath(folder_ / "Volumes/Phone/file"), std::nullopt);
    EXPECT_EQ(files_.dictionaryWithContentsOfFile(folder_ / "Volumes/Phone/file"), std::nullopt);
    EXPECT_EQ(readText(folder_ / "Volumes/Phone/file"), "x");
}

TEST_F(OwnFilesTest, ADictionaryIsReadFromAWholePropertyListOnly) {
    const PropertyDictionary groups{{"LastFileGroupNumber-100", std::int64_t{1}}};
    const std::string text = plistText(groups);
    ASSERT_TRUE(files_.writeDataAtomically(shared("info"), bytes(text)));
    EXPECT_EQ(files_.dictionaryWithContentsOfFile(shared("info")), groups);
    for (const std::string& damaged :
         {std::string(), std::string("nonsense"), text.substr(0, text.size() - 12)}) {
        ASSERT_TRUE(files_.writeDataAtomically(shared("info"), bytes(damaged)));
        EXPECT_EQ(files_.dictionaryWithContentsOfFile(shared("info")), std::nullopt) << damaged;
    }
    EXPECT_EQ(files_.dictionaryWithContentsOfFile(shared("missing")), std::nullopt);
}

TEST_F(OwnFilesTest, FoldersAreToldFromFiles) {
    writeText(folder_ / "file", "x");
    bool isDirectory = true;
    EXPECT_TRUE(files_.fileExistsAtPath(folder_ / "file", &isDirectory));
    EXPECT_FALSE(isDirectory);
    EXPECT_TRUE(files_.fileExistsAtPath(folder_ / "shared", &isDirectory));
    EXPECT_TRUE(isDirectory);
    EXPECT_FALSE(files_.fileExistsAtPath(folder_ / "missing", &isDirectory));
    EXPECT_FALSE(isDirectory);
}

TEST_F(OwnFilesTest, TheTemporaryFolderIsPrivateAndComesBackWhenItIsTakenAway) {
    std::string path;
    {
        LocalFiles files(folder_ / "Volumes");
        path = files.temporaryDirectory();
        EXPECT_EQ(modeOf(path), 0700U);
        EXPECT_EQ(files.temporaryDirectory(), path);
        std::filesystem::remove_all(path);
        path = files.temporaryDirectory();
        EXPECT_EQ(modeOf(path), 0700U);
        writeText(path + "/file", "x");
    }
    EXPECT_FALSE(std::filesystem::exists(path)) << "it goes with the process";
}

}  // namespace

}  // namespace quillbox::host
