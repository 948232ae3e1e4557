// SPDX-License-Identifier: GPL-3.0-or-later
#include "AFC/AFCTest.h"

namespace quillbox::fakes {
namespace {

class AFCInterfaceTest : public AFCTest {
protected:
    void SetUp() override {
        world.afc.addFile("Media", "/file", "0123456789");
        connection.emplace(*open()->deviceInterface());
        world.calls.take();
    }

    const AFCInterface& afc() const { return *connection; }

    std::optional<AFCInterface> connection;
};

TEST_F(AFCInterfaceTest, ItKeepsItsConnectionAndAsksNothing) {
    const auto made = AFCInterface::initWithAFCConnection(platform, 4711);
    EXPECT_EQ(made.afc_handle(), 4711U);
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(AFCInterfaceTest, SimpleRequestsAnswerYesOnSuccessOnly) {
    EXPECT_TRUE(afc().createDirectory("/made"));
    EXPECT_TRUE(afc().renamePath("/made", "/moved"));
    EXPECT_TRUE(world.afc.exists("Media", "/moved"));
    EXPECT_FALSE(world.afc.exists("Media", "/made"));
    EXPECT_TRUE(afc().removePath("/moved"));
    EXPECT_FALSE(afc().removePath("/moved"));
    EXPECT_FALSE(afc().renamePath("/missing", "/x"));
    world.calls.fail("AFCDirectoryCreate", 10);
    EXPECT_FALSE(afc().createDirectory("/refused"));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(AFCInterfaceTest, AListingHoldsEveryNameAsItWasRead) {
    world.afc.scriptListing("/DCIM", {".", "..", "b", "a"});
    EXPECT_EQ(afc().listFilesInPath("/DCIM"), (Texts{".", "..", "b", "a"}));
    EXPECT_EQ(world.calls.count("AFCDirectoryClose"), 1U);
}

TEST_F(AFCInterfaceTest, AListingThatCannotBeOpenedRaisesWithoutNameAndMessage) {
    EXPECT_EQ(thrownBy([this] { afc().listFilesInPath("/missing"); }), ": ");
    EXPECT_EQ(world.calls.count("AFCDirectoryClose"), 0U);
}

TEST_F(AFCInterfaceTest, AttributesAreTextsByKey) {
    const auto attributes = afc().getAttributesAtPath("/file");
    ASSERT_TRUE(attributes);
    EXPECT_EQ(attributes->at("st_size"), "10");
    EXPECT_EQ(attributes->at("st_ifmt"), "S_IFREG");
    EXPECT_EQ(afc().getAttributesAtPath("/missing"), std::nullopt);
    EXPECT_EQ(world.afc.openAnswers(), 0U);
}

TEST_F(AFCInterfaceTest, TheDeviceHasAttributesToo) {
    world.afc.setDeviceInfo({{"Model", "iPhone12,1"}, {"FSTotalBytes", "64"}});
    EXPECT_EQ(afc().getDeviceAttributes(),
              (AFCAttributes{{"Model", "iPhone12,1"}, {"FSTotalBytes", "64"}}));
    world.calls.fail("AFCDeviceInfoOpen", 1);
    EXPECT_EQ(afc().getDeviceAttributes(), std::nullopt);
    EXPECT_EQ(world.afc.openAnswers(), 0U);
}

TEST_F(AFCInterfaceTest, AnAnswerThatBreaksOffGivesWhatWasReadAndIsClosed) {
    world.afc.setDeviceInfo({{"Model", "iPhone12,1"}, {"FSTotalBytes", "64"}});
    world.calls.fail("AFCKeyValueRead", 12, 2);
    EXPECT_EQ(afc().getDeviceAttributes(), (AFCAttributes{{"Model", "iPhone12,1"}}));
    EXPECT_EQ(world.afc.openAnswers(), 0U);
}

TEST_F(AFCInterfaceTest, AKeyWithoutAValueEndsTheAnswer) {
    world.afc.setDeviceInfo({{"Model", "iPhone12,1"}, {"odd", ""}, {"FSTotalBytes", "64"}});
    world.afc.leaveOutValueOf("odd");
    EXPECT_EQ(afc().getDeviceAttributes(), (AFCAttributes{{"Model", "iPhone12,1"}}));
    EXPECT_EQ(world.afc.openAnswers(), 0U);
}

TEST_F(AFCInterfaceTest, AListingThatBreaksOffGivesWhatWasReadAndIsClosed) {
    world.afc.scriptListing("/DCIM", {".", "b", "a"});
    world.calls.fail("AFCDirectoryRead", 20, 3);
    EXPECT_EQ(afc().listFilesInPath("/DCIM"), (Texts{".", "b"}));
    EXPECT_EQ(world.afc.openDirectories(), 0U);
}

TEST_F(AFCInterfaceTest, FilesAndDirectoriesAreToldApart) {
    EXPECT_TRUE(afc().isFileAtPath("/file"));
    EXPECT_FALSE(afc().isDirectoryAtPath("/file"));
    EXPECT_TRUE(afc().isDirectoryAtPath("/DCIM"));
    EXPECT_FALSE(afc().isFileAtPath("/DCIM"));
    EXPECT_FALSE(afc().isFileAtPath("/missing"));
    EXPECT_FALSE(afc().isDirectoryAtPath("/missing"));
}

TEST_F(AFCInterfaceTest, ALinkIsNeitherAndSoIsAnItemWithoutAFormat) {
    world.afc.tree("Media")["/link"].format = "S_IFLNK";
    world.afc.tree("Media")["/odd"].info = InfoPairs{{"st_size", "1"}};
    for (const char* path : {"/link", "/odd"}) {
        EXPECT_FALSE(afc().isFileAtPath(path));
        EXPECT_FALSE(afc().isDirectoryAtPath(path));
    }
}

TEST_F(AFCInterfaceTest, AFileThatCannotBeOpenedIsLoggedWithModeAndError) {
    world.calls.fail("AFCFileRefOpen", 8);
    EXPECT_EQ(afc().openFileAtPath("/missing", 1), 0U);
    EXPECT_EQ(world.log.take(), (Texts{"AFCFileRefOpen(1): 8"}));
}

TEST_F(AFCInterfaceTest, ClosingAnswersWhetherItWorked) {
    const auto file = afc().openFileAtPath("/file", 1);
    ASSERT_NE(file, 0U);
    EXPECT_TRUE(afc().closeFile(file));
    const auto second = afc().openFileAtPath("/file", 1);
    world.calls.fail("AFCFileRefClose", 1);
    EXPECT_FALSE(afc().closeFile(second));
}

TEST_F(AFCInterfaceTest, AReadTellsHowMuchItWas) {
    const auto file = afc().openFileAtPath("/file", 1);
    std::uint32_t size = 4;
    EXPECT_EQ(text(afc().readFromFile(file, &size, 3)), "3456");
    EXPECT_EQ(size, 4U);
    size = 100;
    EXPECT_EQ(text(afc().readFromFile(file, &size, 8)), "89");
    EXPECT_EQ(size, 2U);
    EXPECT_EQ(text(afc().readFromFile(file, &size, 50)), "");
    EXPECT_EQ(size, 0U);
    afc().closeFile(file);
}

TEST_F(AFCInterfaceTest, ASeekThatFailsEndsTheReadSilently) {
    const auto file = afc().openFileAtPath("/file", 1);
    std::uint32_t size = 4;
    world.calls.fail("AFCFileRefSeek", 7);
    EXPECT_EQ(afc().readFromFile(file, &size, 3), std::nullopt);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(world.calls.count("AFCFileRefRead"), 0U);
    EXPECT_EQ(world.log.take(), Texts{});
    afc().closeFile(file);
}

TEST_F(AFCInterfaceTest, AReadThatFailsIsLoggedAndLeavesTheSize) {
    const auto file = afc().openFileAtPath("/file", 1);
    std::uint32_t size = 4;
    world.calls.fail("AFCFileRefRead", 20);
    EXPECT_EQ(afc().readFromFile(file, &size, 3), std::nullopt);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(world.log.take(), (Texts{"ret: 20"}));
    afc().closeFile(file);
}

TEST_F(AFCInterfaceTest, WritingGoesToItsOffset) {
    const auto file = afc().openFileAtPath("/file", 2);
    const auto data = bytes("XY");
    EXPECT_TRUE(afc().writeToFile(file, data.data(), data.size(), 4));
    EXPECT_EQ(content("/file"), "0123XY6789");
    world.calls.fail("AFCFileRefWrite", 18);
    EXPECT_FALSE(afc().writeToFile(file, data.data(), data.size(), 4));
    afc().closeFile(file);
}

TEST_F(AFCInterfaceTest, NothingIsWrittenAtOnceWithoutARequest) {
    EXPECT_TRUE(afc().writeToFile(4711, nullptr, 0, 0));
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(AFCInterfaceTest, AWriteWhoseSeekFailsWritesNothing) {
    const auto file = afc().openFileAtPath("/file", 2);
    const auto data = bytes("XY");
    world.calls.fail("AFCFileRefSeek", 7);
    EXPECT_FALSE(afc().writeToFile(file, data.data(), data.size(), 4));
    EXPECT_EQ(world.calls.count("AFCFileRefWrite"), 0U);
    afc().closeFile(file);
}

TEST_F(AFCInterfaceTest, SettingTheSizeOpensSetsAndCloses) {
    EXPECT_TRUE(afc().setSizeOfFile("/file", 4));
    EXPECT_EQ(content("/file"), std::string(4, '\0'));
    EXPECT_EQ(world.calls.count("AFCFileRefOpen /file 3"), 1U);
    EXPECT_EQ(world.afc.openFiles(), 0U);
    world.calls.fail("AFCFileRefSetFileSize", 18);
    EXPECT_FALSE(afc().setSizeOfFile("/file", 9));
    EXPECT_EQ(world.afc.openFiles(), 0U);
}

TEST_F(AFCInterfaceTest, TheSizeOfWhatCannotBeOpenedIsNotSetAndNothingIsClosed) {
    world.calls.fail("AFCFileRefOpen", 10);
    EXPECT_FALSE(afc().setSizeOfFile("/file", 4));
    EXPECT_EQ(world.calls.count("AFCFileRefSetFileSize"), 0U);
    EXPECT_EQ(world.calls.count("AFCFileRefClose"), 0U);
    EXPECT_EQ(world.log.take(), Texts{});
}

}  // namespace
}  // namespace quillbox::fakes
