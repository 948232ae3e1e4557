// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/LocalFileManager.h"
#include "HostTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace quillbox::host {
namespace {

class LocalFileManagerTest : public ::testing::Test {
protected:
    std::string typeOf(const std::string& path) {
        const auto attributes = manager.attributesOfItemAtPath(path, nullptr);
        return attributes ? *find(*attributes, NSFileType)->string() : "none";
    }

    TestFolder folder;
    LocalFileManager manager;
    std::optional<NSError> error;
};

TEST_F(LocalFileManagerTest, AnItemTellsTypeSizeAndDate) {
    writeText(folder / "file", "12345");
    const auto attributes = manager.attributesOfItemAtPath(folder / "file", &error);
    ASSERT_TRUE(attributes);
    EXPECT_EQ(*find(*attributes, NSFileType)->string(), NSFileTypeRegular);
    EXPECT_EQ(find(*attributes, NSFileSize)->integerValue(), 5);
    const auto age = std::chrono::system_clock::now() -
                     *find(*attributes, NSFileModificationDate)->get<PropertyDate>();
    EXPECT_LT(std::chrono::abs(age), std::chrono::hours(1));
    EXPECT_FALSE(error);
}

TEST_F(LocalFileManagerTest, ALinkIsToldAboutItself) {
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_symlink(folder / "real", folder / "link");
    EXPECT_EQ(typeOf(folder / "real"), NSFileTypeDirectory);
    EXPECT_EQ(typeOf(folder / "link"), NSFileTypeSymbolicLink);
    EXPECT_EQ(typeOf("/dev/null"), NSFileTypeCharacterSpecial);
}

TEST_F(LocalFileManagerTest, AFolderListsItsNamesAndNothingElse) {
    for (const char* name : {"b", "a", ".hidden"}) {
        writeText(folder / name, "");
    }
    auto names = manager.contentsOfDirectoryAtPath(folder.path(), &error);
    ASSERT_TRUE(names);
    std::sort(names->begin(), names->end());
    EXPECT_EQ(*names, (std::vector<std::string>{".hidden", "a", "b"}));
    std::filesystem::create_symlink(folder.path(), folder / "link");
    EXPECT_EQ(manager.contentsOfDirectoryAtPath(folder / "link", &error)->size(), 4U);
}

TEST_F(LocalFileManagerTest, ADiskTellsItsSizeAndWhatIsFree) {
    const auto attributes = manager.attributesOfFileSystemForPath(folder.path(), &error);
    ASSERT_TRUE(attributes);
    EXPECT_GE(attributes->size(), 3U);
    const auto size = find(*attributes, NSFileSystemSize)->unsignedValue();
    EXPECT_GT(size, 0U);
    EXPECT_LE(find(*attributes, NSFileSystemFreeSize)->unsignedValue(), size);
}

TEST_F(LocalFileManagerTest, AFailureTellsItsReason) {
    EXPECT_FALSE(manager.attributesOfItemAtPath(folder / "missing", &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, NSPOSIXErrorDomain);
    EXPECT_EQ(error->code, ENOENT);
    EXPECT_EQ(error->localizedDescription, "No such file or directory");
    writeText(folder / "file", "");
    EXPECT_FALSE(manager.contentsOfDirectoryAtPath(folder / "file", &error));
    EXPECT_EQ(error->code, ENOTDIR);
    EXPECT_FALSE(manager.attributesOfFileSystemForPath(folder / "missing", &error));
    EXPECT_EQ(error->code, ENOENT);
    EXPECT_FALSE(manager.attributesOfItemAtPath(folder / "missing", nullptr));
}

}  // namespace
}  // namespace quillbox::host
