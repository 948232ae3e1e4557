// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>

namespace quillbox::fakes {
namespace {

class FileTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        world.afc.addFile("Media", "/a.txt", "hello");
        world.calls.take();
    }

    bool open(const std::string& path, int flags) {
        error.reset();
        record.reset();
        return phone.openFileAtPath(path, flags, &record, &error);
    }

    bool create(const std::string& path, const PropertyDictionary& attributes = {}) {
        error.reset();
        record.reset();
        return phone.createFileAtPath(path, attributes, &record, &error);
    }

    std::int32_t write(const std::string& text, std::int64_t offset = 0) {
        error.reset();
        return phone.writeFileAtPath("/a.txt", record, text.data(), text.size(), offset, &error);
    }

    std::int32_t read(std::uint64_t size, std::int64_t offset = 0) {
        error.reset();
        buffer.assign(size, '?');
        return phone.readFileAtPath("/a.txt", record, buffer.data(), size, offset, &error);
    }

    /// What the record holds beside the handle.
    PropertyDictionary flags() {
        PropertyDictionary copy = *record;
        copy.erase("fileRef");
        return copy;
    }

    GMUserData record;
    std::string buffer;
};

using OpeningFilesTest = FileTest;

TEST_F(OpeningFilesTest, ReadOnlyOpensInModeOneAndIsNoCandidate) {
    EXPECT_TRUE(open("/a.txt", O_RDONLY));
    EXPECT_EQ(world.calls.take(),
              (Texts{"AFCFileInfoOpen /a.txt", "AFCKeyValueClose", "AFCFileRefOpen /a.txt 1"}));
    EXPECT_EQ(flags(),
              (PropertyDictionary{
                  {"mode", 1}, {"isCreateFileAtPath", false}, {"isWriteFileAtPath", false}}));
    EXPECT_NE(find(*record, "fileRef")->get<std::uint64_t>(), nullptr);
    EXPECT_EQ(codeOf(error), 0);
    EXPECT_EQ(world.log.take(), (Texts{"openFileAtPath:mode:userData:error: /a.txt mode=1 "
                                       "(1_RDONLY, 2_WRONLY, 3_RDWR)"}));
}

TEST_F(OpeningFilesTest, WritingOpensInModeTwoAndIsACandidateWhateverTheSuffix) {
    for (const int mode : {O_WRONLY, O_RDWR}) {
        EXPECT_TRUE(open("/a.txt", mode));
        EXPECT_EQ(flags(),
                  (PropertyDictionary{
                      {"mode", 2}, {"isCreateFileAtPath", true}, {"isWriteFileAtPath", false}}));
        EXPECT_EQ(world.calls.take().back(), "AFCFileRefOpen /a.txt 2");
    }
    EXPECT_TRUE(world.log.contains("openFileAtPath:mode:userData:error: /a.txt mode=3 (1_RDONLY, "
                                   "2_WRONLY, 3_RDWR)"));
}

TEST_F(OpeningFilesTest, AReadOnlyOpenWithAFurtherFlagEndsInModeTwoAsACandidate) {
    EXPECT_TRUE(open("/a.txt", O_RDONLY | O_NONBLOCK));
    EXPECT_EQ(*find(*record, "mode"), PropertyValue(2));
    EXPECT_EQ(*find(*record, "isCreateFileAtPath"), PropertyValue(true));
}

TEST_F(OpeningFilesTest, NegativeFlagsGoThroughPlusOneAndSetNoCandidate) {
    EXPECT_FALSE(open("/a.txt", -1));
    EXPECT_EQ(world.calls.take().back(), "AFCFileRefOpen /a.txt 0");
    EXPECT_FALSE(open("/a.txt", -5));
    EXPECT_EQ(world.calls.take().back(), "AFCFileRefOpen /a.txt 18446744073709551612");
    EXPECT_FALSE(open("/a.txt", std::numeric_limits<int>::max()));
}

TEST_F(OpeningFilesTest, ARecordOfNegativeFlagsSaysNothingOfBeingACandidate) {
    world.afc.acceptEveryMode();
    EXPECT_TRUE(open("/a.txt", -1));
    EXPECT_EQ(flags(), (PropertyDictionary{{"mode", 0}, {"isWriteFileAtPath", false}}));
    EXPECT_TRUE(world.log.contains("openFileAtPath:mode:userData:error: /a.txt mode=0 (1_RDONLY, "
                                   "2_WRONLY, 3_RDWR)"));
}

TEST_F(OpeningFilesTest, AMissingFileIsNeverMade) {
    EXPECT_FALSE(open("/none", O_RDWR));
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileInfoOpen /none"}));
    EXPECT_EQ(world.log.take().back(), "Error: openFileAtPath:mode:userData:error: /none");
    EXPECT_TRUE(create("/none"));
}

TEST_F(OpeningFilesTest, AFailedOpenLeavesTheRecordParameterAsItWas) {
    const auto kept = std::make_shared<PropertyDictionary>();
    record = kept;
    world.calls.fail("AFCFileRefOpen", 10);
    EXPECT_FALSE(phone.openFileAtPath("/a.txt", O_RDONLY, &record, &error));
    EXPECT_EQ(record, kept);
    EXPECT_EQ(codeOf(error), ENOENT);
    EXPECT_EQ(world.log.take().back(), "Error: AFCFileRefOpen() ");
}

using CreatingFilesTest = FileTest;

TEST_F(CreatingFilesTest, AFileIsMadeWithoutAskingForItFirst) {
    EXPECT_TRUE(create("/notes.txt", {{"NSFilePosixPermissions", 420}}));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileRefOpen /notes.txt 2"}));
    EXPECT_EQ(flags(),
              (PropertyDictionary{
                  {"mode", 2}, {"isCreateFileAtPath", false}, {"isWriteFileAtPath", false}}));
    EXPECT_EQ(world.log.take(),
              (Texts{"createFileAtPath:attributes:userData:error: /notes.txt mode=2 attributes={ "
                     "NSFilePosixPermissions = 420; }",
                     "OK... "}));
    EXPECT_TRUE(world.afc.exists("Media", "/notes.txt"));
}

TEST_F(CreatingFilesTest, AnExistingFileIsOpenedWithoutCuttingIt) {
    EXPECT_TRUE(create("/a.txt"));
    EXPECT_EQ(world.afc.content("Media", "/a.txt"), "hello");
}

TEST_F(CreatingFilesTest, PicturesAreCandidatesBySuffixAlone) {
    for (const char* name : {"/IMG_0001.JPG", "/a.jpeg", "/a.Png", "/apng", "/jpg"}) {
        EXPECT_TRUE(create(name));
        EXPECT_EQ(*find(*record, "isCreateFileAtPath"), PropertyValue(true)) << name;
    }
    for (const char* name : {"/notes.txt", "/a.jpg.txt", "/a.gif"}) {
        EXPECT_TRUE(create(name));
        EXPECT_EQ(*find(*record, "isCreateFileAtPath"), PropertyValue(false)) << name;
    }
}

TEST_F(CreatingFilesTest, AFailureIsAnInputOutputError) {
    world.calls.fail("AFCFileRefOpen", 18);
    EXPECT_FALSE(create("/notes.txt"));
    EXPECT_EQ(codeOf(error), EIO);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(world.log.take().back(), "Error: AFCFileRefOpen() ");
}

TEST_F(CreatingFilesTest, AnApplicationsFilesAreMadeBelowItsDocuments) {
    switchToApplication(true);
    EXPECT_TRUE(create("/x.txt"));
    EXPECT_TRUE(world.afc.exists("org.example.notes", "/Documents/x.txt"));
    EXPECT_TRUE(open("/x.txt", O_RDONLY));
}

TEST_F(CreatingFilesTest, AnApplicationsFilesAreLoggedByTheirDevicePaths) {
    switchToApplication(true);
    EXPECT_TRUE(create("/a.txt"));
    EXPECT_EQ(write("text"), 4);
    EXPECT_EQ(read(4), 4);
    const Texts lines = world.log.take();
    EXPECT_EQ(lines.at(2),
              "writeFileAtPath:userData:buffer:size:offset:error::4 path:/Documents/a.txt ");
    EXPECT_EQ(lines.at(3),
              "readFileAtPath:userData:buffer:size:offset:error:4 path:/Documents/a.txt");
    EXPECT_FALSE(open("/none", O_RDONLY));
    EXPECT_EQ(world.log.take().back(),
              "Error: openFileAtPath:mode:userData:error: /Documents/none");
}

using ReadingFilesTest = FileTest;

TEST_F(ReadingFilesTest, AReadIsOneSeekAndOneTransfer) {
    open("/a.txt", O_RDONLY);
    world.calls.take();
    world.log.take();
    EXPECT_EQ(read(3, 1), 3);
    EXPECT_EQ(buffer, "ell");
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileRefSeek 1 0", "AFCFileRefRead 3"}));
    const Texts lines = world.log.take();
    EXPECT_EQ(lines.at(0), "readFileAtPath:userData:buffer:size:offset:error:3 path:/a.txt");
    EXPECT_EQ(lines.at(1), "userData:" + description(*record));
    EXPECT_EQ(codeOf(error), 0);
}

TEST_F(ReadingFilesTest, AShortReadIsNotFilledUpAndTheEndIsZero) {
    open("/a.txt", O_RDONLY);
    EXPECT_EQ(read(10, 2), 3);
    EXPECT_EQ(world.calls.count("AFCFileRefRead"), 1U);
    EXPECT_EQ(read(10, 5), 0);
    EXPECT_EQ(read(10, 500), 0);
    EXPECT_EQ(codeOf(error), 0);
}

TEST_F(ReadingFilesTest, WithoutARecordTheArgumentIsInvalid) {
    EXPECT_EQ(read(3), -2);
    EXPECT_EQ(codeOf(error), EINVAL);
    EXPECT_EQ(world.calls.take(), Texts{});
    EXPECT_EQ(world.log.take(),
              (Texts{"readFileAtPath:userData:buffer:size:offset:error:3 path:/a.txt"}));
}

TEST_F(ReadingFilesTest, AFailedSeekTellsTheOffsetCutTo32Bits) {
    open("/a.txt", O_RDONLY);
    world.calls.fail("AFCFileRefSeek", 1);
    EXPECT_EQ(read(3, 4294967301), -2);
    EXPECT_EQ(codeOf(error), EIO);
    EXPECT_EQ(world.log.take().back(), "Error: AFCFileRefSeek() 5");
    EXPECT_EQ(world.calls.count("AFCFileRefRead"), 0U);
}

TEST_F(ReadingFilesTest, AFailedReadIsAnInputOutputErrorAndKeepsTheHandle) {
    open("/a.txt", O_RDONLY);
    world.calls.fail("AFCFileRefRead", 20);
    EXPECT_EQ(read(3), -2);
    EXPECT_EQ(codeOf(error), EIO);
    EXPECT_EQ(world.log.take().back(), "Error: AFCFileRefRead() ");
    EXPECT_EQ(world.afc.openFiles(), 1U);
}

TEST_F(ReadingFilesTest, ARecordOfAReplacedConnectionReachesNoFile) {
    open("/a.txt", O_RDONLY);
    world.device.services.insert("com.apple.afc2");
    ASSERT_TRUE(phone.setupConnectionForRoot(10));
    EXPECT_EQ(read(3), -2);
    EXPECT_EQ(codeOf(error), EIO);
}

using WritingFilesTest = FileTest;

TEST_F(WritingFilesTest, AWriteIsOneSeekAndOneTransferOfTheWholeSize) {
    create("/a.txt");
    world.calls.take();
    world.log.take();
    EXPECT_EQ(write("LO!", 3), 3);
    EXPECT_EQ(world.afc.content("Media", "/a.txt"), "helLO!");
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileRefSeek 3 0", "AFCFileRefWrite 3"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"writeFileAtPath:userData:buffer:size:offset:error::3 path:/a.txt "}));
    EXPECT_EQ(codeOf(error), 0);
}

TEST_F(WritingFilesTest, AWriteMarksACandidateAsWritten) {
    open("/a.txt", O_RDWR);
    write("x");
    EXPECT_EQ(*find(*record, "isWriteFileAtPath"), PropertyValue(true));
    create("/notes.txt");
    write("x");
    EXPECT_EQ(*find(*record, "isWriteFileAtPath"), PropertyValue(false));
}

TEST_F(WritingFilesTest, AnEmptyWriteTouchesNeitherRecordNorDevice) {
    open("/a.txt", O_RDWR);
    write("x");
    world.calls.take();
    EXPECT_EQ(write(""), 0);
    EXPECT_EQ(*find(*record, "isWriteFileAtPath"), PropertyValue(true));
    EXPECT_EQ(world.calls.take(), Texts{});
    record.reset();
    EXPECT_EQ(write(""), 0);
    EXPECT_EQ(codeOf(error), 0);
}

TEST_F(WritingFilesTest, AFailedWriteTakesTheMarkBack) {
    open("/a.txt", O_RDWR);
    write("x");
    world.calls.fail("AFCFileRefWrite", 18);
    EXPECT_EQ(write("y"), -2);
    EXPECT_EQ(codeOf(error), EIO);
    EXPECT_EQ(*find(*record, "isWriteFileAtPath"), PropertyValue(false));
    EXPECT_EQ(world.log.take().back(), "Error: AFCFileRefWrite() ");
}

TEST_F(WritingFilesTest, AFailedSeekIsAnInputOutputError) {
    open("/a.txt", O_RDWR);
    world.calls.fail("AFCFileRefSeek", 1);
    EXPECT_EQ(write("y"), -2);
    EXPECT_EQ(codeOf(error), EIO);
    EXPECT_EQ(world.log.take().back(), "Error: AFCFileRefSeek() ");
    EXPECT_EQ(world.calls.count("AFCFileRefWrite"), 0U);
}

TEST_F(WritingFilesTest, WithoutARecordTheArgumentIsInvalid) {
    EXPECT_EQ(write("x"), -2);
    EXPECT_EQ(codeOf(error), EINVAL);
    EXPECT_EQ(world.log.take().back(), "Error: !userData");
    EXPECT_EQ(world.calls.take(), Texts{});
}

using SettingAttributesTest = FileTest;

TEST_F(SettingAttributesTest, EveryChangeOfAnExistingFileIsAcceptedAndNoneApplied) {
    EXPECT_TRUE(phone.setAttributes({{"NSFileSize", 2}}, "/a.txt", nullptr, &error));
    EXPECT_EQ(codeOf(error), EPERM);
    EXPECT_EQ(world.afc.content("Media", "/a.txt"), "hello");
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileInfoOpen /a.txt", "AFCKeyValueClose"}));
    EXPECT_EQ(world.log.take(), (Texts{"setAttributes:ofItemAtPath:userData:error: /a.txt "
                                       "attributes={ NSFileSize = 2; }"}));
}

TEST_F(SettingAttributesTest, AnApplicationsFilesAreSoughtBelowItsDocuments) {
    switchToApplication(true);
    world.afc.addFile("org.example.notes", "/Documents/x.txt", "text");
    EXPECT_TRUE(phone.setAttributes({}, "/x.txt", nullptr, &error));
    EXPECT_EQ(
        world.log.take(),
        (Texts{"setAttributes:ofItemAtPath:userData:error: /Documents/x.txt attributes={ }"}));
    EXPECT_FALSE(phone.setAttributes({}, "/none", nullptr, &error));
    EXPECT_EQ(world.log.take().back(),
              "Error: setAttributes:ofItemAtPath:userData:error: /Documents/none");
}

TEST_F(SettingAttributesTest, AMissingFileIsNotPermitted) {
    EXPECT_FALSE(phone.setAttributes({}, "/none", nullptr, &error));
    EXPECT_EQ(codeOf(error), EPERM);
    EXPECT_EQ(world.log.take().back(), "Error: setAttributes:ofItemAtPath:userData:error: /none");
}

}  // namespace
}  // namespace quillbox::fakes
