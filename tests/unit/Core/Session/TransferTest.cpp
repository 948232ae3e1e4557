// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

constexpr std::size_t kReadChunk = 65'536;
constexpr std::size_t kCopyChunk = 262'144;

class TransferTest : public SessionTest {
protected:
    void put(const std::string& path, std::string content) {
        world.afc.addFile("Media", path, std::move(content));
    }

    /// The calls that carried content, since the last look.
    Texts moved() {
        Texts chosen;
        for (const auto& call : world.calls.take()) {
            if (call.starts_with("AFCFileRef") || call.starts_with("read") ||
                call.starts_with("write") || call.starts_with("close")) {
                chosen.push_back(call);
            }
        }
        return chosen;
    }

    static std::string text(const std::optional<PropertyData>& data) {
        return data ? std::string(data->begin(), data->end()) : "(none)";
    }
};

std::string pattern(std::size_t length) {
    std::string content(length, '\0');
    for (std::size_t i = 0; i < length; ++i) {
        content[i] = static_cast<char>(i * 31 + i / 256);
    }
    return content;
}

TEST_F(TransferTest, APartIsReadFromItsOffset) {
    put("/a", "0123456789");
    EXPECT_EQ(text(phone.readFileData("/a", 3, 4)), "3456");
    EXPECT_EQ(moved(), (Texts{"AFCFileRefOpen /a 2", "AFCFileRefSeek 3 0", "AFCFileRefRead 4",
                              "AFCFileRefClose"}));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(TransferTest, ExactlyOneChunkIsOneRead) {
    put("/a", pattern(kReadChunk));
    EXPECT_EQ(text(phone.readFileData("/a", 0, kReadChunk)), pattern(kReadChunk));
    EXPECT_EQ(world.calls.count("AFCFileRefRead"), 1U);
}

TEST_F(TransferTest, OneByteMoreThanAChunkIsTwoReads) {
    put("/a", pattern(kReadChunk + 1));
    EXPECT_EQ(text(phone.readFileData("/a", 0, kReadChunk + 1)), pattern(kReadChunk + 1));
    EXPECT_EQ(moved(), (Texts{"AFCFileRefOpen /a 2", "AFCFileRefSeek 0 0", "AFCFileRefRead 65536",
                              "AFCFileRefRead 1", "AFCFileRefClose"}));
}

TEST_F(TransferTest, BehindAShortReadOnlyAsMuchIsAskedFor) {
    put("/a", pattern(4 * kReadChunk));
    world.afc.scriptReads({kReadChunk, 1000});
    const auto data = phone.readFileData("/a", 0, 3 * kReadChunk + 5);
    EXPECT_EQ(text(data), pattern(kReadChunk + 1000 + 1000 + 5));
    EXPECT_EQ(moved(), (Texts{"AFCFileRefOpen /a 2", "AFCFileRefSeek 0 0", "AFCFileRefRead 65536",
                              "AFCFileRefRead 65536", "AFCFileRefRead 1000", "AFCFileRefRead 5",
                              "AFCFileRefClose"}));
}

TEST_F(TransferTest, AMissingFileReadsAsEmptyAndIsMade) {
    EXPECT_EQ(phone.readDataOfFile("/none"), PropertyData{});
    EXPECT_TRUE(world.afc.exists("Media", "/none"));
    EXPECT_EQ(world.afc.openFiles(), 0U);
}

TEST_F(TransferTest, AFailureGivesNothingAndLeavesTheFileOpen) {
    put("/a", pattern(2 * kReadChunk));
    world.calls.fail("AFCFileRefOpen", kAFCPermissionDenied);
    EXPECT_EQ(phone.readDataOfFile("/a"), std::nullopt);
    EXPECT_EQ(world.afc.openFiles(), 0U);
    world.calls.fail("AFCFileRefSeek", kAFCIOError);
    EXPECT_EQ(phone.readDataOfFile("/a"), std::nullopt);
    EXPECT_EQ(world.afc.openFiles(), 1U);
    world.calls.fail("AFCFileRefRead", kAFCIOError, 1);
    EXPECT_EQ(phone.readDataOfFile("/a"), std::nullopt);
    world.calls.fail("AFCFileRefRead", kAFCIOError, 2);
    EXPECT_EQ(phone.readDataOfFile("/a"), std::nullopt);
    EXPECT_EQ(world.afc.openFiles(), 3U);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(TransferTest, AWholeFileIsReadByItsSize) {
    put("/a", pattern(100'000));
    EXPECT_EQ(text(phone.readDataOfFile("/a")), pattern(100'000));
}

TEST_F(TransferTest, ASizeThatCannotBeGatheredIsRefusedUnopened) {
    for (const auto* size : {"-5", "268435457", "9223372036854775807"}) {
        world.afc.tree("Media")["/a"].info = InfoPairs{{"st_size", size}};
        std::optional<PropertyData> data;
        EXPECT_EQ(phone.readDataOfFile("/a"), std::nullopt) << size;
        EXPECT_FALSE(phone.attemptFileRead("/a", &data)) << size;
    }
    EXPECT_EQ(world.calls.count("AFCFileRefOpen"), 0U);
}

TEST_F(TransferTest, AnAttemptReadsWithoutASeek) {
    put("/a", pattern(kReadChunk + 7));
    std::optional<PropertyData> data;
    EXPECT_TRUE(phone.attemptFileRead("/a", &data));
    EXPECT_EQ(text(data), pattern(kReadChunk + 7));
    EXPECT_EQ(moved(), (Texts{"AFCFileRefOpen /a 2", "AFCFileRefRead 65536", "AFCFileRefRead 7",
                              "AFCFileRefClose"}));
}

TEST_F(TransferTest, AnAttemptOnAnEmptyFileHandsOutEmptyDataAndAnswersNo) {
    put("/a", "");
    std::optional<PropertyData> data;
    EXPECT_FALSE(phone.attemptFileRead("/a", &data));
    EXPECT_EQ(data, PropertyData{});
    EXPECT_EQ(world.afc.openFiles(), 0U);
}

TEST_F(TransferTest, AnAttemptThatFailsKeepsWhatWasRead) {
    put("/a", pattern(2 * kReadChunk));
    world.calls.fail("AFCFileRefRead", kAFCIOError, 2);
    std::optional<PropertyData> data;
    EXPECT_FALSE(phone.attemptFileRead("/a", &data));
    EXPECT_EQ(text(data), pattern(kReadChunk));
    EXPECT_EQ(world.afc.openFiles(), 1U);
}

TEST_F(TransferTest, AnAttemptThatCannotOpenHandsOutNothing) {
    world.calls.fail("AFCFileRefOpen", kAFCPermissionDenied);
    std::optional<PropertyData> data;
    EXPECT_FALSE(phone.attemptFileRead("/a", &data));
    EXPECT_EQ(data, std::nullopt);
}

TEST_F(TransferTest, AFileOfOneChunkGoesOntoTheDeviceInOneWrite) {
    world.files.contents["/here"] = pattern(kCopyChunk);
    EXPECT_TRUE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.afc.content("Media", "/there"), pattern(kCopyChunk));
    EXPECT_EQ(moved(), (Texts{"AFCFileRefOpen /there 3", "read 262144", "AFCFileRefWrite 262144",
                              "AFCFileRefClose", "close"}));
    EXPECT_EQ(world.files.openFiles(), 0U);
}

TEST_F(TransferTest, AByteMoreGoesInTwoWrites) {
    world.files.contents["/here"] = pattern(kCopyChunk + 1);
    EXPECT_TRUE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.afc.content("Media", "/there"), pattern(kCopyChunk + 1));
    EXPECT_EQ(moved(), (Texts{"AFCFileRefOpen /there 3", "read 262144", "AFCFileRefWrite 262144",
                              "read 1", "AFCFileRefWrite 1", "AFCFileRefClose", "close"}));
}

TEST_F(TransferTest, AnEmptyFileIsOneWriteOfNothing) {
    world.files.contents["/here"] = "";
    EXPECT_TRUE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.calls.count("AFCFileRefWrite 0"), 1U);
    EXPECT_EQ(world.afc.content("Media", "/there"), "");
}

TEST_F(TransferTest, TheTargetGoesFirstEvenWhenThereIsNoSource) {
    put("/there", "old");
    EXPECT_FALSE(phone.copyFileToIPhone("/missing", "/there"));
    EXPECT_FALSE(world.afc.exists("Media", "/there"));
    EXPECT_EQ(world.calls.count("open"), 0U);
}

TEST_F(TransferTest, ATargetThatCannotBeRemovedIsWrittenAllTheSame) {
    put("/there", "");
    world.calls.fail("AFCRemovePath", kAFCPermissionDenied);
    world.files.contents["/here"] = "new";
    EXPECT_TRUE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.afc.content("Media", "/there"), "new");
}

TEST_F(TransferTest, ASourceIsOpenedForReadingOnly) {
    world.files.contents["/here"] = "x";
    phone.copyFileToIPhone("/here", "/there");
    EXPECT_EQ(world.calls.count("open /here 0 292"), 1U);
}

TEST_F(TransferTest, ACopyOntoTheDeviceLeavesOpenWhatItHadOpened) {
    world.files.contents["/here"] = pattern(kCopyChunk * 2);
    world.calls.fail("open", 1);
    EXPECT_FALSE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.files.openFiles(), 0U);
    world.calls.fail("AFCFileRefOpen", kAFCPermissionDenied);
    EXPECT_FALSE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.files.openFiles(), 1U);
    world.calls.fail("AFCFileRefWrite", kAFCNoSpaceLeft, 1);
    EXPECT_FALSE(phone.copyFileToIPhone("/here", "/there"));
    world.calls.fail("AFCFileRefWrite", kAFCNoSpaceLeft, 2);
    EXPECT_FALSE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.files.openFiles(), 3U);
    EXPECT_EQ(world.afc.openFiles(), 2U);
}

TEST_F(TransferTest, AHostReadThatFailsIsNotLookedAt) {
    world.files.contents["/here"] = "abc";
    world.calls.fail("read", 1);
    EXPECT_TRUE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.afc.content("Media", "/there"), std::string(3, '\0'));
}

TEST_F(TransferTest, FourGibibytesAreRefusedBeforeAnythingIsWritten) {
    world.files.contents["/here"] = "short";
    world.files.claimedSize = std::uint64_t{1} << 32U;
    EXPECT_FALSE(phone.copyFileToIPhone("/here", "/there"));
    EXPECT_EQ(world.calls.count("AFCFileRefWrite"), 0U);
}

TEST_F(TransferTest, ADeviceFileIsCopiedUntilAReadGivesNothing) {
    put("/there", pattern(kCopyChunk + 5));
    world.files.paths = {"/folder"};
    EXPECT_TRUE(phone.copyFile("/there", "/folder/here"));
    EXPECT_EQ(world.files.contents["/folder/here"], pattern(kCopyChunk + 5));
    EXPECT_EQ(moved(), (Texts{"AFCFileRefOpen /there 2", "AFCFileRefRead 262144", "write 262144",
                              "AFCFileRefRead 262144", "write 5", "AFCFileRefRead 5", "write 0",
                              "AFCFileRefClose", "close"}));
}

TEST_F(TransferTest, ACopyIsMadeReadableAndWritableWithoutBeingCut) {
    put("/there", "x");
    phone.copyFile("/there", "/folder/here");
    EXPECT_EQ(world.calls.count("open /folder/here 514 511"), 1U);
}

TEST_F(TransferTest, ACopyMakesMissingFolders) {
    put("/there", "x");
    EXPECT_TRUE(phone.copyFile("/there", "/new/deep/here"));
    EXPECT_TRUE(world.files.paths.contains("/new/deep"));
}

TEST_F(TransferTest, ACopyGoesOnWhenTheTargetCannotBePrepared) {
    put("/there", "x");
    world.files.failure = "read only";
    EXPECT_TRUE(phone.copyFile("/there", "/new/here"));
    EXPECT_EQ(world.files.contents["/new/here"], "x");
}

TEST_F(TransferTest, ACopyFromTheDeviceThatFailsClosesNothing) {
    put("/there", pattern(kCopyChunk * 2));
    world.calls.fail("AFCFileRefOpen", kAFCObjectNotFound);
    EXPECT_FALSE(phone.copyFile("/there", "/folder/here"));
    world.calls.fail("open", 1);
    EXPECT_FALSE(phone.copyFile("/there", "/folder/here"));
    EXPECT_EQ(world.afc.openFiles(), 1U);
    world.calls.fail("AFCFileRefRead", kAFCIOError, 2);
    EXPECT_FALSE(phone.copyFile("/there", "/folder/here"));
    EXPECT_EQ(world.afc.openFiles(), 2U);
    EXPECT_EQ(world.files.openFiles(), 1U);
}

TEST_F(TransferTest, PreparingClearsTheTargetInAFolderThatIsThere) {
    world.files.paths = {"/folder"};
    world.files.contents["/folder/here"] = "old";
    EXPECT_TRUE(phone.prepareTargetPathOnLocalMachine("/folder/here"));
    EXPECT_FALSE(world.files.fileExistsAtPath("/folder/here"));
    EXPECT_EQ(world.calls.count("createDirectoryAtPath"), 0U);
}

TEST_F(TransferTest, ATargetThatStaysIsAFailureInAFolderThatIsThere) {
    world.files.paths = {"/folder"};
    world.files.contents["/folder/here"] = "old";
    world.calls.fail("removeItemAtPath", 1);
    EXPECT_FALSE(phone.prepareTargetPathOnLocalMachine("/folder/here"));
}

TEST_F(TransferTest, AFailedRemovalIsForgottenWhenTheFolderIsMade) {
    world.files.contents["/odd/here"] = "old";
    world.calls.fail("removeItemAtPath", 1);
    EXPECT_TRUE(phone.prepareTargetPathOnLocalMachine("/odd/here"));
    EXPECT_TRUE(world.files.paths.contains("/odd"));
}

TEST_F(TransferTest, AFolderThatCannotBeMadeIsAFailure) {
    world.files.failure = "read only";
    EXPECT_FALSE(phone.prepareTargetPathOnLocalMachine("/new/here"));
}

TEST_F(TransferTest, EntriesAreTestedAsIfTheyStoodAtTheTop) {
    world.afc.addDirectory("Media", "/DCIM");
    world.afc.addDirectory("Media", "/DCIM/100APPLE");  // a directory, but not at the top
    put("/DCIM/a.jpg", "picture");
    put("/a.jpg", "12");
    world.afc.addDirectory("Media", "/Books");
    put("/DCIM/Books", "a file, but not at the top");
    EXPECT_EQ(phone.getFiles("/DCIM"),
              (std::vector<PropertyDictionary>{{{"name", "100APPLE"}, {"size", std::int64_t{0}}},
                                               {{"name", "a.jpg"}, {"size", std::int64_t{2}}}}));
    EXPECT_EQ(phone.getDirectories("/DCIM"),
              (std::vector<PropertyDictionary>{{{"name", "Books"}}}));
    EXPECT_EQ(world.afc.openDirectories(), 0U);
}

TEST_F(TransferTest, ListingsFailWhenTheyCannotBeginOrEnd) {
    world.afc.addDirectory("Media", "/DCIM");
    for (const auto* call : {"AFCDirectoryOpen", "AFCDirectoryRead", "AFCDirectoryClose"}) {
        world.calls.fail(call, kAFCIOError);
        EXPECT_EQ(phone.getFiles("/DCIM"), std::nullopt) << call;
        world.calls.fail(call, kAFCIOError);
        EXPECT_EQ(phone.getDirectories("/DCIM"), std::nullopt) << call;
    }
}

TEST_F(TransferTest, AListingEndsAtItsFirstFailedRead) {
    world.afc.addDirectory("Media", "/DCIM");
    put("/DCIM/a", "");
    put("/DCIM/b", "");
    world.calls.fail("AFCDirectoryRead", kAFCIOError, 4);  // behind ".", ".." and "a"
    EXPECT_EQ(phone.getFiles("/DCIM")->size(), 1U);
}

}  // namespace
}  // namespace quillbox::fakes
