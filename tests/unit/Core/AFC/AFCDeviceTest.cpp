// SPDX-License-Identifier: GPL-3.0-or-later
#include "AFC/AFCTest.h"

#include <algorithm>

namespace quillbox::fakes {
namespace {

class DepartureDelegate final : public AFCDeviceDelegate {
public:
    void deviceWasDisconnected(AFCDevice& device) override { gone.push_back(&device); }

    std::vector<const AFCDevice*> gone;
};

class AFCDeviceTest : public AFCTest {
protected:
    std::string opening() {
        return thrownBy([this] { AFCDevice::initWithRef(ref(world.device)); });
    }

    /// The sizes of the reads, or of the writes, that were asked of the connection.
    std::size_t count(const std::string& kind) { return world.calls.count(kind); }

    static constexpr std::size_t kChunk = 0x40000;
};

TEST_F(AFCDeviceTest, OpeningGoesStepByStepToTheMediaService) {
    const auto device = AFCDevice::initWithRef(ref(world.device));
    ASSERT_NE(device, nullptr);
    Texts calls = world.calls.take();
    ASSERT_EQ(calls.size(), 6U);
    EXPECT_EQ(calls.back(), "AFCConnectionOpen Media 0");
    calls.pop_back();
    EXPECT_EQ(calls, (Texts{"AMDeviceConnect", "AMDeviceIsPaired", "AMDeviceValidatePairing",
                            "AMDeviceStartSession", "AMDeviceStartService com.apple.afc"}));
    EXPECT_EQ(device->device()->device(), &world.device);
    EXPECT_EQ(world.afc.treeOf(device->deviceInterface()->afc_handle()), "Media");
    EXPECT_TRUE(world.notifications.isObserving(device.get(), AFC_DeviceWasDisconnected));
}

TEST_F(AFCDeviceTest, EachFailingStepRaisesWithItsMessageAndEndsTheOpening) {
    const std::vector<std::pair<std::string, std::string>> steps{
        {"AMDeviceConnect", "AFCDevice: AMDeviceConnect failed with error 5"},
        {"AMDeviceValidatePairing", "AFCDevice: AMDeviceValidatePairing failed with error 5"},
        {"AMDeviceStartSession", "AFCDevice: AMDeviceStartSession failed with error 5"},
        {"AMDeviceStartService", "AFCDevice: AMDeviceStartService failed with error 5"},
        {"AFCConnectionOpen", "AFCDevice: AFCConnectionOpen failed with error 5"}};
    for (const auto& [call, message] : steps) {
        world.calls.take();
        world.calls.fail(call, 5);
        EXPECT_EQ(opening(), message);
        EXPECT_TRUE(world.calls.take().back().starts_with(call));
    }
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(AFCDeviceTest, ADeviceThatIsNotPairedRaises) {
    world.calls.fail("AMDeviceIsPaired", FakeMobileDevice::kNotPaired);
    EXPECT_EQ(opening(), "AFCDevice: Device pairing failed");
}

TEST_F(AFCDeviceTest, AnyPairingAnswerButZeroCounts) {
    world.calls.fail("AMDeviceIsPaired", 17);
    EXPECT_EQ(opening(), "nothing");
}

TEST_F(AFCDeviceTest, AServiceWithoutANumberRaises) {
    world.devices.startsNothing = true;
    EXPECT_EQ(opening(), "AFCDevice: AMDeviceStartService didn't initialise a connection");
}

TEST_F(AFCDeviceTest, WithoutAReferenceThereIsNoDevice) {
    EXPECT_EQ(AFCDevice::initWithRef(nullptr), nullptr);
    AFCDevice device(platform);
    EXPECT_EQ(device.openDevice(nullptr, "com.apple.afc"), 0U);
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(AFCDeviceTest, AnotherServiceCanBeOpened) {
    world.device.services.insert("com.apple.afc2");
    const auto device = open();
    const auto connection = device->openDevice(device->device(), "com.apple.afc2");
    EXPECT_EQ(world.afc.treeOf(connection), "Root");
}

TEST_F(AFCDeviceTest, GoingOverToAnotherDeviceReplacesReferenceAndInterface) {
    const auto device = open();
    const auto before = device->deviceInterface();
    am_device other{{}, {}, {"com.apple.afc"}};
    const auto otherRef = ref(other);
    device->setDeviceRef(otherRef);
    EXPECT_EQ(device->device(), otherRef);
    EXPECT_NE(device->deviceInterface(), before);
    EXPECT_EQ(world.afc.openConnections(), 2U);  // the layer never closes one
}

TEST_F(AFCDeviceTest, GoingOverThatFailsAtTheServiceKeepsTheInterface) {
    const auto device = open();
    const auto before = device->deviceInterface();
    world.calls.fail("AMDeviceStartService", 5);
    am_device other;
    EXPECT_EQ(thrownBy([&] { device->setDeviceRef(ref(other)); }),
              "AFCDevice: AMDeviceStartService failed with error 5");
    EXPECT_EQ(device->deviceInterface(), before);
    EXPECT_EQ(device->device()->device(), &other);
}

TEST_F(AFCDeviceTest, TheDepartureOfThisVeryDeviceIsTold) {
    const auto device = open();
    const auto delegate = std::make_shared<DepartureDelegate>();
    device->setDelegate(delegate);
    EXPECT_EQ(device->delegate(), delegate);
    AFCFactory::factory();
    am_device other;
    other.record.deviceID = 8;
    world.devices.announce(&other, 2);
    EXPECT_TRUE(delegate->gone.empty());
    world.devices.announce(&world.device, 2);
    EXPECT_EQ(delegate->gone, (std::vector<const AFCDevice*>{device.get()}));
}

TEST_F(AFCDeviceTest, ADepartureWithoutADelegateOrWithOneThatDoesNotAnswerIsHarmless) {
    const auto device = open();
    AFCFactory::factory();
    world.devices.announce(&world.device, 2);
    device->setDelegate(std::make_shared<AFCDeviceDelegate>());
    world.devices.announce(&world.device, 2);
    EXPECT_EQ(world.notifications.posted().size(), 2U);
}

TEST_F(AFCDeviceTest, AnEndedDeviceObservesNothingAndLeavesItsConnectionOpen) {
    auto device = open();
    const void* observer = device.get();
    device.reset();
    EXPECT_EQ(world.notifications.observations(observer), 0U);
    EXPECT_EQ(world.afc.openConnections(), 1U);
}

TEST_F(AFCDeviceTest, GoingOverThatFailsBeforeTheServiceKeepsAll) {
    const auto device = open();
    const auto first = device->device();
    const auto before = device->deviceInterface();
    am_device other;
    world.calls.fail("AMDeviceStartSession", 5);
    EXPECT_THROW(device->setDeviceRef(ref(other)), NSException);
    EXPECT_EQ(device->device(), first);
    EXPECT_EQ(device->deviceInterface(), before);
}

TEST_F(AFCDeviceTest, ADeviceKeepsItsDelegateAndLetsGoOfAllAtItsEnd) {
    auto device = open();
    auto delegate = std::make_shared<DepartureDelegate>();
    const std::weak_ptr<DepartureDelegate> kept = delegate;
    const std::weak_ptr<AFCInterface> files = device->deviceInterface();
    device->setDelegate(std::move(delegate));
    EXPECT_FALSE(kept.expired());
    device.reset();
    EXPECT_TRUE(kept.expired());
    EXPECT_TRUE(files.expired());
}

TEST_F(AFCDeviceTest, AWholeFileIsReadInChunks) {
    const std::string content = std::string(kChunk, 'a') + "tail";
    world.afc.addFile("Media", "/big", content);
    const auto device = open();
    EXPECT_EQ(text(device->contentsOfFileAtPath("/big")), content);
    EXPECT_EQ(count("AFCFileRefOpen"), 1U);
    EXPECT_EQ(count("AFCFileRefClose"), 1U);
    // The second chunk is short, so the third asks for no more than that.
    EXPECT_EQ(count("AFCFileRefRead"), 3U);
    EXPECT_EQ(world.afc.openFiles(), 0U);
    EXPECT_EQ(world.afc.openAnswers(), 0U);
}

TEST_F(AFCDeviceTest, EachReadOfAWholeFileAsksForWhatTheLastOneGave) {
    world.afc.addFile("Media", "/file", "0123456789");
    const auto device = open();
    world.afc.scriptReads({3});
    EXPECT_EQ(text(device->contentsOfFileAtPath("/file")), "0123456789");
    EXPECT_EQ(count("AFCFileRefRead"), 5U);
    EXPECT_EQ(count("AFCFileRefRead 262144"), 1U);
    EXPECT_EQ(count("AFCFileRefRead 3"), 3U);
    EXPECT_EQ(count("AFCFileRefRead 1"), 1U);
}

TEST_F(AFCDeviceTest, EachReadOfAStretchAsksForWhatTheLastOneGaveCutToWhatRemains) {
    world.afc.addFile("Media", "/file", "0123456789");
    const auto device = open();
    world.afc.scriptReads({3});
    EXPECT_EQ(text(device->chunkOfFileAtPath("/file", {2, 7})), "2345678");
    EXPECT_EQ(count("AFCFileRefRead"), 4U);
    for (const char* size : {"7", "3", "1", "0"}) {
        EXPECT_EQ(count(std::string("AFCFileRefRead ") + size), 1U);
    }
}

TEST_F(AFCDeviceTest, AFileOfExactlyOneChunkTakesOneReadAndAnEmptyOne) {
    world.afc.addFile("Media", "/chunk", std::string(kChunk, 'x'));
    const auto device = open();
    EXPECT_EQ(device->contentsOfFileAtPath("/chunk")->size(), kChunk);
    EXPECT_EQ(count("AFCFileRefRead"), 2U);
}

TEST_F(AFCDeviceTest, AnEmptyFileIsEmpty) {
    world.afc.addFile("Media", "/empty", "");
    EXPECT_EQ(text(open()->contentsOfFileAtPath("/empty")), "");
}

TEST_F(AFCDeviceTest, WhatIsNoPlainFileHasNoContents) {
    const auto device = open();
    EXPECT_EQ(device->contentsOfFileAtPath("/DCIM"), std::nullopt);
    EXPECT_EQ(device->contentsOfFileAtPath("/missing"), std::nullopt);
    EXPECT_EQ(device->chunkOfFileAtPath("/missing", {0, 1}), std::nullopt);
    EXPECT_EQ(count("AFCFileRefOpen"), 0U);
}

TEST_F(AFCDeviceTest, AFileThatCannotBeOpenedReadsAsEmpty) {
    world.afc.addFile("Media", "/file", "content");
    const auto device = open();
    world.calls.fail("AFCFileRefOpen", 10);
    EXPECT_EQ(text(device->contentsOfFileAtPath("/file")), "");
    EXPECT_EQ(world.log.take(), (Texts{"AFCFileRefOpen(2): 10"}));
    EXPECT_EQ(count("AFCFileRefClose"), 0U);
    world.calls.fail("AFCFileRefOpen", 10);
    EXPECT_EQ(text(device->chunkOfFileAtPath("/file", {0, 4})), "");
}

TEST_F(AFCDeviceTest, AReadThatFailsInTheLoopLeavesItsChunkOutAndGoesOn) {
    world.afc.addFile("Media", "/big",
                      std::string(kChunk, 'a') + std::string(kChunk, 'b') + "tail");
    const auto device = open();
    world.calls.fail("AFCFileRefRead", 20, 2);
    EXPECT_EQ(text(device->contentsOfFileAtPath("/big")), std::string(kChunk, 'a') + "tail");
    EXPECT_EQ(world.log.take(), (Texts{"ret: 20"}));
    EXPECT_EQ(count("AFCFileRefRead"), 4U);
}

TEST_F(AFCDeviceTest, ReadingGoesOnBehindTheEndWhileReadsFail) {
    world.afc.addFile("Media", "/file", "content");
    const auto device = open();
    for (std::size_t nth = 1; nth <= 5; ++nth) {
        world.calls.fail("AFCFileRefRead", 20, nth);
    }
    EXPECT_EQ(text(device->contentsOfFileAtPath("/file")), "");
    EXPECT_EQ(count("AFCFileRefRead"), 6U);
    EXPECT_EQ(world.log.take(), Texts(5, "ret: 20"));
    EXPECT_EQ(count("AFCFileRefClose"), 1U);
}

TEST_F(AFCDeviceTest, AStretchIsReadFromItsLocation) {
    world.afc.addFile("Media", "/file", "0123456789");
    const auto device = open();
    EXPECT_EQ(text(device->chunkOfFileAtPath("/file", {3, 4})), "3456");
    EXPECT_EQ(text(device->chunkOfFileAtPath("/file", {8, 100})), "89");
    EXPECT_EQ(text(device->chunkOfFileAtPath("/file", {50, 4})), "");
}

TEST_F(AFCDeviceTest, ALongStretchIsCutToWhatRemains) {
    const std::string content = std::string(kChunk, 'a') + std::string(kChunk, 'b');
    world.afc.addFile("Media", "/big", content);
    const auto device = open();
    EXPECT_EQ(text(device->chunkOfFileAtPath("/big", {1, kChunk + 10})),
              content.substr(1, kChunk + 10));
    EXPECT_EQ(world.afc.openFiles(), 0U);
}

TEST_F(AFCDeviceTest, AStretchOfNothingOpensAndClosesTheFile) {
    world.afc.addFile("Media", "/file", "content");
    const auto device = open();
    EXPECT_EQ(text(device->chunkOfFileAtPath("/file", {2, 0})), "");
    EXPECT_EQ(count("AFCFileRefOpen"), 1U);
    EXPECT_EQ(count("AFCFileRefClose"), 1U);
}

TEST_F(AFCDeviceTest, AReadThatFailsInAStretchLeavesItsChunkOutAndGoesOn) {
    world.afc.addFile("Media", "/big",
                      std::string(kChunk, 'a') + std::string(kChunk, 'b') + "tail");
    const auto device = open();
    world.calls.fail("AFCFileRefRead", 20, 1);
    EXPECT_EQ(text(device->chunkOfFileAtPath("/big", {0, 2 * kChunk + 4})),
              std::string(kChunk, 'b') + "tail");
    EXPECT_EQ(world.log.take(), (Texts{"ret: 20"}));
}

TEST_F(AFCDeviceTest, AStretchEndsEvenWhereEveryReadFails) {
    world.afc.addFile("Media", "/big", std::string(3 * kChunk, 'a'));
    const auto device = open();
    world.calls.failAlways("AFCFileRefRead", 20);
    EXPECT_EQ(text(device->chunkOfFileAtPath("/big", {0, 3 * kChunk})), "");
    EXPECT_EQ(count("AFCFileRefRead"), 4U);
}

TEST_F(AFCDeviceTest, AFileIsWrittenInChunks) {
    const std::string content = std::string(2 * kChunk, 'w') + "end";
    const auto device = open();
    device->createFileAtPath("/DCIM/new", bytes(content));
    EXPECT_EQ(this->content("/DCIM/new"), content);
    EXPECT_EQ(count("AFCFileRefWrite"), 3U);
    EXPECT_EQ(world.afc.openFiles(), 0U);
}

TEST_F(AFCDeviceTest, WritingReplacesWhatWasThere) {
    world.afc.addFile("Media", "/DCIM/old", "much longer than that");
    open()->createFileAtPath("/DCIM/old", bytes("short"));
    EXPECT_EQ(content("/DCIM/old"), "short");
}

TEST_F(AFCDeviceTest, AFileOfNothingIsMade) {
    const auto device = open();
    device->createFileAtPath("/empty", {});
    EXPECT_TRUE(world.afc.exists("Media", "/empty"));
    EXPECT_EQ(count("AFCFileRefWrite"), 0U);
}

TEST_F(AFCDeviceTest, WithoutAParentNothingIsWritten) {
    world.afc.addFile("Media", "/file", "content");
    const auto device = open();
    device->createFileAtPath("/missing/new", bytes("x"));
    device->createFileAtPath("/file/new", bytes("x"));
    EXPECT_EQ(count("AFCFileRefOpen"), 0U);
}

TEST_F(AFCDeviceTest, AFileThatCannotBeOpenedForWritingIsLogged) {
    const auto device = open();
    world.calls.fail("AFCFileRefOpen", 10);
    device->createFileAtPath("/DCIM/new", bytes("x"));
    EXPECT_EQ(world.log.take(), (Texts{"AFCFileRefOpen(3): 10"}));
    EXPECT_EQ(count("AFCFileRefClose"), 0U);
}

TEST_F(AFCDeviceTest, AWriteThatFailsIsNotLookedAt) {
    const auto device = open();
    world.calls.fail("AFCFileRefWrite", 18);
    device->createFileAtPath("/DCIM/new", bytes(std::string(kChunk, 'a') + "b"));
    EXPECT_EQ(count("AFCFileRefWrite"), 2U);
    EXPECT_EQ(world.log.take(), Texts{});
    EXPECT_EQ(world.afc.openFiles(), 0U);
}

TEST_F(AFCDeviceTest, OnlyPlainFilesAreDeleted) {
    world.afc.addFile("Media", "/file", "content");
    const auto device = open();
    device->deleteFileAtPath("/file");
    device->deleteFileAtPath("/DCIM");
    device->deleteFileAtPath("/missing");
    EXPECT_FALSE(world.afc.exists("Media", "/file"));
    EXPECT_TRUE(world.afc.exists("Media", "/DCIM"));
    EXPECT_EQ(count("AFCRemovePath"), 1U);
}

TEST_F(AFCDeviceTest, FilesAndFoldersAreListedInTheDevicesOrder) {
    for (const char* name : {"zebra", "apple"}) {
        world.afc.addFile("Media", std::string("/DCIM/") + name, "x");
        world.afc.addDirectory("Media", std::string("/DCIM/folder ") + name);
    }
    world.afc.scriptListing(
        "/DCIM", {".", "zebra", "", "folder zebra", "..", "apple", "folder apple", "gone"});
    const auto device = open();
    EXPECT_EQ(device->listOfFilesAtPath("/DCIM"), (Texts{"zebra", "apple"}));
    EXPECT_EQ(device->listOfFoldersAtPath("/DCIM"), (Texts{"folder zebra", "folder apple"}));
    EXPECT_EQ(world.afc.openDirectories(), 0U);
}

TEST_F(AFCDeviceTest, NamesAreJoinedWithOneSlash) {
    world.afc.addFile("Media", "/top", "x");
    EXPECT_EQ(open()->listOfFilesAtPath("/"), (Texts{"top"}));
    EXPECT_EQ(world.calls.count("AFCFileInfoOpen //"), 0U);
}

TEST_F(AFCDeviceTest, ListingWhatCannotBeOpenedRaises) {
    const auto device = open();
    EXPECT_EQ(thrownBy([&] { device->listOfFilesAtPath("/missing"); }), ": ");
    EXPECT_EQ(thrownBy([&] { device->listOfFoldersAtPath("/missing"); }), ": ");
}

}  // namespace
}  // namespace quillbox::fakes
