// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

#include <cerrno>

namespace quillbox::fakes {
namespace {

class AttributesTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        world.afc.addFile("Media", "/a.txt", "hello");
        world.calls.take();
    }

    std::optional<PropertyDictionary> ask(const std::string& path) {
        error.reset();
        return phone.attributesOfItemAtPath(path, nullptr, &error);
    }

    PropertyDictionary askNode(const InfoPairs& info) {
        world.afc.tree("Media").insert_or_assign("/node", Node{.info = info});
        return ask("/node").value_or(PropertyDictionary{});
    }
};

TEST_F(AttributesTest, AFileHasExactlySixAttributes) {
    EXPECT_EQ(ask("/a.txt"),
              (PropertyDictionary{
                  {"NSFileType", "NSFileTypeRegular"},
                  {"NSFileSize", std::uint64_t{5}},
                  {"NSFileCreationDate", PropertyDate(std::chrono::seconds(1400000000))},
                  {"NSFileModificationDate", PropertyDate(std::chrono::seconds(1500000000))},
                  {"NSFilePosixPermissions", 33206},
                  {"NSFileReferenceCount", 1}}));
    EXPECT_EQ(codeOf(error), 0);
    EXPECT_EQ(world.log.take(), (Texts{"attributesOfItemAtPath:userData:error: /a.txt"}));
}

TEST_F(AttributesTest, TheyCostTwoFileInformationRequests) {
    ask("/a.txt");
    const Texts calls = world.calls.take();
    EXPECT_EQ(calls.front(), "AFCFileInfoOpen /a.txt");
    EXPECT_EQ(calls.at(1), "AFCKeyValueClose");
    EXPECT_EQ(calls.at(2), "AFCFileInfoOpen /a.txt");
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "AFCFileInfoOpen /a.txt"), 2);
    EXPECT_EQ(calls.back(), "AFCKeyValueClose");
}

TEST_F(AttributesTest, AMissingItemIsLoggedAndNotFound) {
    EXPECT_EQ(ask("/none"), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.log.take(), (Texts{"attributesOfItemAtPath:userData:error: /none",
                                       "Error: attributesOfItemAtPath:userData:error: /none"}));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileInfoOpen /none"}));
}

TEST_F(AttributesTest, AFailedSecondRequestIsNotFoundWithoutAnErrorLine) {
    world.calls.fail("AFCFileInfoOpen", 1, 2);
    EXPECT_EQ(ask("/a.txt"), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.log.take().size(), 1U);
}

TEST_F(AttributesTest, TypeAndModeFollowTheDevicesFormatWord) {
    const std::vector<std::tuple<const char*, const char*, int>> rows{
        {"S_IFDIR", "NSFileTypeDirectory", 16895},
        {"S_IFREG", "NSFileTypeRegular", 33206},
        {"S_IFLNK", "NSFileTypeSymbolicLink", 41398},
        {"S_IFSOCK", "NSFileTypeSocket", 49572},
        {"S_IFCHR", "NSFileTypeCharacterSpecial", 8612},
        {"S_IFBLK", "NSFileTypeBlockSpecial", 8612},
        {"S_IFIFO", "NSFileTypeUnknown", 493},
        {"", "NSFileTypeUnknown", 493},
    };
    for (const auto& [format, type, mode] : rows) {
        const auto attributes = askNode({{"st_ifmt", format}});
        EXPECT_EQ(*find(attributes, NSFileType), PropertyValue(type)) << format;
        EXPECT_EQ(*find(attributes, NSFilePosixPermissions), PropertyValue(mode)) << format;
    }
}

TEST_F(AttributesTest, MissingKeysReadAsZeroEpochAndUnknown) {
    EXPECT_EQ(askNode({{"other", "1"}}),
              (PropertyDictionary{{"NSFileType", "NSFileTypeUnknown"},
                                  {"NSFileSize", std::uint64_t{0}},
                                  {"NSFileCreationDate", PropertyDate()},
                                  {"NSFileModificationDate", PropertyDate()},
                                  {"NSFilePosixPermissions", 493},
                                  {"NSFileReferenceCount", 0}}));
}

TEST_F(AttributesTest, TimesAreCutTowardsZero) {
    EXPECT_EQ(*find(askNode({{"st_mtime", "999999999"}}), NSFileModificationDate),
              PropertyValue(PropertyDate()));
    EXPECT_EQ(*find(askNode({{"st_mtime", "-1500000000"}}), NSFileModificationDate),
              PropertyValue(PropertyDate(std::chrono::seconds(-1))));
    EXPECT_EQ(*find(askNode({{"st_birthtime", "9223372036854775807"}}), NSFileCreationDate),
              PropertyValue(PropertyDate(std::chrono::seconds(9223372036))));
}

TEST_F(AttributesTest, SizesAreUnsignedAndLinkCountsAreCutTo32Bits) {
    const auto attributes = askNode({{"st_size", "5368709120"}, {"st_nlink", "4294967298"}});
    EXPECT_EQ(*find(attributes, NSFileSize), PropertyValue(std::uint64_t{5368709120}));
    EXPECT_EQ(*find(attributes, NSFileReferenceCount), PropertyValue(2));
    EXPECT_EQ(*find(askNode({{"st_size", "-1"}}), NSFileSize),
              PropertyValue(std::uint64_t{18446744073709551615U}));
}

TEST_F(AttributesTest, AnApplicationsPathsAreMapped) {
    switchToApplication(true);
    EXPECT_TRUE(ask("/"));
    EXPECT_EQ(world.calls.count("AFCFileInfoOpen /Documents"), 2U);
    world.log.take();
    EXPECT_FALSE(ask("/none"));
    EXPECT_EQ(world.log.take(),
              (Texts{"attributesOfItemAtPath:userData:error: /Documents/none",
                     "Error: attributesOfItemAtPath:userData:error: /Documents/none"}));
}

class VolumeAttributesTest : public SessionTest {
protected:
    std::optional<PropertyDictionary> ask() {
        return phone.attributesOfFileSystemForPath("/ignored", &error);
    }
};

TEST_F(VolumeAttributesTest, TheVolumeTellsRescaledSizes) {
    errno = 0;
    EXPECT_EQ(ask(),
              (PropertyDictionary{{"NSFileSystemSize", std::int64_t{16000000000}},
                                  {"NSFileSystemFreeSize", std::int64_t{1000000000}},
                                  {"NSFileSystemNodes", std::uint64_t{1024}},
                                  {"NSFileSystemFreeNodes", std::uint64_t{1024}},
                                  {"NSFileDeviceIdentifier", 0},
                                  {"kGMUserFileSystemVolumeSupportsExtendedDatesKey", true}}));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(VolumeAttributesTest, TheErrorIsSetFromErrnoOnSuccessToo) {
    errno = EAGAIN;
    EXPECT_TRUE(ask());
    EXPECT_EQ(codeOf(error), EAGAIN);
}

TEST_F(VolumeAttributesTest, WithoutDeviceInformationThereIsNoAnswer) {
    errno = 0;
    world.calls.fail("AFCDeviceInfoOpen", 1);
    EXPECT_EQ(ask(), std::nullopt);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, 0);
}

TEST_F(VolumeAttributesTest, TheIdentifierIsTheLeadingNumberOfTheModel) {
    world.afc.setDeviceInfo({{"Model", "42abc"}});
    const auto attributes = ask();
    EXPECT_EQ(*find(*attributes, NSFileDeviceIdentifier), PropertyValue(42));
    EXPECT_EQ(*find(*attributes, NSFileSystemSize), PropertyValue(std::int64_t{0}));
}

TEST(FileSystemSizeTest, BinaryUnitsBecomeTheSameFigureOfDecimalUnits) {
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> rows{
        {0, 0},
        {1023, 1023},
        {1024, 1000},
        {1048575, 1023999},
        {1048576, 1000000},
        {1073741823, 1023999999},
        {1073741824, 1000000000},
        {17179869184, 16000000000},
        {16000000000, 14901161193},
    };
    for (const auto& [bytes, shown] : rows) {
        EXPECT_EQ(PodPhone::convertFileSystemSize(bytes), shown) << bytes;
    }
}

}  // namespace
}  // namespace quillbox::fakes
