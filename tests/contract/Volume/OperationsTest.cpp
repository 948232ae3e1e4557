// SPDX-License-Identifier: GPL-3.0-or-later
// A volume's answers over a delegate, without a kernel between.
#include "Linux/Volume/Operations.h"

#include "MountedVolume.h"

#include <fcntl.h>
#include <thread>

namespace quillbox::volume {
namespace {

using test::MemoryBacking;
using test::MemoryDelegate;
using test::MemoryDevice;
using test::Request;

class OperationsOverADelegate : public testing::Test {
protected:
    OperationsOverADelegate() {
        device->put("/a", "A");
        device->putFolder("/folder");
    }

    std::shared_ptr<MemoryDevice> device = std::make_shared<MemoryDevice>();
    MemoryDelegate delegate{device};
    MemoryBacking backing{device, 1};
    DelegateQueue queue{true};
    quillbox::volume::Nodes nodes{1};
    int gatherings = 0;
    Operations operations{
        {delegate, backing, queue, nodes, Owner{1, 2}, "information", [this] { ++gatherings; }}};
    PatientCaller caller;
};

TEST_F(OperationsOverADelegate, ReleaseEachOpenExactlyOnce) {
    const auto entry = operations.lookUp(caller, kRootNode, "a");
    ASSERT_TRUE(entry);
    const auto first = operations.open(caller, entry->node, O_RDONLY);
    const auto second = operations.open(caller, entry->node, O_RDWR);
    ASSERT_TRUE(first && second);
    operations.release(*first);
    operations.release(*first);
    EXPECT_EQ(device->count(Request::Close), 1);
    operations.releaseAll();
    EXPECT_EQ(device->count(Request::Close), 2);
    EXPECT_EQ(device->openFiles(), 0U);
}

TEST_F(OperationsOverADelegate, OnAClosedQueueReachNobody) {
    const auto entry = operations.lookUp(caller, kRootNode, "a");
    const auto handle = operations.open(caller, entry->node, O_RDWR);
    const auto directory = operations.openDirectory(caller, kRootNode);
    const int calls = delegate.calls();
    queue.close();
    operations.release(*handle);
    operations.releaseDirectory(*directory);
    operations.forget(entry->node, 1);
    EXPECT_EQ(operations.lookUp(caller, kRootNode, "a").error(), EIO);
    EXPECT_EQ(delegate.calls(), calls);
    EXPECT_EQ(nodes.count(), 1U);
}

TEST_F(OperationsOverADelegate, FailTheCreationThatCannotBeShown) {
    device->failNth(Request::Info, 1, kAFCConnectionLost);
    EXPECT_EQ(operations.create(caller, kRootNode, "new", 0644, O_RDWR).error(), EIO);
    EXPECT_EQ(device->openFiles(), 0U);
    device->failNth(Request::Info, 1, kAFCTimedOut);
    EXPECT_EQ(operations.create(caller, kRootNode, "new2", 0644, O_RDWR | O_EXCL).error(),
              ETIMEDOUT);
    EXPECT_FALSE(device->has("/new2"));
}

TEST_F(OperationsOverADelegate, RefuseATopThatIsNoFolder) {
    device->put("/", "a file");
    EXPECT_EQ(operations.attributes(caller, kRootNode, std::nullopt).error(), EIO);
}

TEST_F(OperationsOverADelegate, SendAnOldItemsProgramBackToTheName) {
    const auto old = operations.lookUp(caller, kRootNode, "a");
    device->put("/b", "B");
    ASSERT_TRUE(operations.rename(caller, kRootNode, "b", kRootNode, "a", 0));
    EXPECT_EQ(operations.open(caller, old->node, O_RDONLY).error(), ESTALE);
    EXPECT_EQ(operations.symbolicLinkTarget(caller, old->node).error(), ESTALE);
    EXPECT_EQ(operations.makeLink(caller, old->node, kRootNode, "c").error(), ESTALE);
    const auto fresh = operations.lookUp(caller, kRootNode, "a");
    EXPECT_EQ(device->remove("/a"), kAFCSuccess);
    EXPECT_EQ(operations.open(caller, fresh->node, O_RDONLY).error(), ESTALE);
    Changes changes;
    changes.size = 1;
    EXPECT_EQ(operations.change(caller, fresh->node, std::nullopt, changes).error(), ESTALE);
}

TEST_F(OperationsOverADelegate, TakeTheEndOfAFileFromTheDeviceOnly) {
    device->put("/long", std::string(100, 'x'));
    const auto entry = operations.lookUp(caller, kRootNode, "long");
    const auto handle = operations.open(caller, entry->node, O_RDONLY);
    char bytes[200];
    device->endReadsAt(40);
    EXPECT_EQ(operations.read(caller, *handle, bytes, sizeof bytes, 0).error(), EIO);
    EXPECT_EQ(*operations.read(caller, *handle, bytes, 40, 0), 40U);
    device->failNth(Request::Info, 1, kAFCObjectNotFound);
    EXPECT_EQ(operations.read(caller, *handle, bytes, sizeof bytes, 0).error(), EIO)
        << "gone is no length";
    EXPECT_EQ(device->setSize("/long", 40), kAFCSuccess);
    EXPECT_EQ(*operations.read(caller, *handle, bytes, sizeof bytes, 0), 40U) << "it shrank";
    const int questions = device->count(Request::Info);
    EXPECT_EQ(*operations.read(caller, *handle, bytes, sizeof bytes, 40), 0U);
    EXPECT_EQ(device->count(Request::Info), questions) << "the end is known";
    EXPECT_EQ(device->setSize("/long", 0), kAFCSuccess);
    EXPECT_EQ(*operations.read(caller, *handle, bytes, sizeof bytes, 0), 0U);
    EXPECT_EQ(*operations.read(caller, *handle, bytes, sizeof bytes, 0), 0U);
    operations.release(*handle);
}

TEST_F(OperationsOverADelegate, CallANameTooLongThatIsNoneToTheDevice) {
    const std::string name(256, 'l');
    device->failNth(Request::Info, 1, kAFCInvalidArgument);
    EXPECT_EQ(operations.lookUp(caller, kRootNode, name).error(), ENAMETOOLONG);
    device->failNth(Request::Info, 1, kAFCConnectionLost);
    EXPECT_EQ(operations.lookUp(caller, kRootNode, name).error(), EIO);
    device->failNth(Request::Info, 1, kAFCInvalidArgument);
    EXPECT_EQ(operations.lookUp(caller, kRootNode, "short").error(), EIO);
    EXPECT_EQ(operations.lookUp(caller, kRootNode, std::string(255, 'l')).error(), ENOENT);
}

TEST_F(OperationsOverADelegate, SyncWhatAnyOpenOfTheFileWrote) {
    const auto entry = operations.lookUp(caller, kRootNode, "a");
    const auto writer = operations.open(caller, entry->node, O_WRONLY);
    const auto reader = operations.open(caller, entry->node, O_RDONLY);
    const std::string large(GatheredWrites::kLarge, 'l');
    ASSERT_TRUE(operations.write(caller, *writer, large.data(), large.size(), 0));
    ASSERT_TRUE(operations.sync(caller, *reader));
    EXPECT_EQ(backing.finishes, 1);
    backing.finishFailure = kAFCNoSpaceLeft;
    EXPECT_EQ(operations.sync(caller, *reader).error(), ENOSPC);
    EXPECT_EQ(operations.sync(caller, *reader).error(), 0);
    EXPECT_EQ(operations.flush(caller, *writer).error(), ENOSPC);
    const int finishes = backing.finishes;
    EXPECT_EQ(operations.sync(caller, *reader).error(), 0);
    EXPECT_EQ(backing.finishes, finishes) << "there is nothing to finish";
    // What was found when everything was finished is told by the close.
    ASSERT_TRUE(operations.write(caller, *writer, large.data(), large.size(), 0));
    backing.finishFailure = kAFCNoSpaceLeft;
    operations.finishAllWrites();
    EXPECT_EQ(operations.flush(caller, *writer).error(), ENOSPC);
    operations.releaseAll();
}

TEST_F(OperationsOverADelegate, KnowNoFileThatIsBeingClosed) {
    const auto entry = operations.lookUp(caller, kRootNode, "a");
    const auto handle = operations.open(caller, entry->node, O_WRONLY);
    ASSERT_TRUE(operations.write(caller, *handle, "B", 1, 0));
    device->block(Request::Close);
    std::thread closing([&] { operations.release(*handle); });
    while (device->held() == 0) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(operations.hasUnfinishedWrites());
    EXPECT_EQ(device->content("/a"), "B");
    device->unblock();
    closing.join();
}

TEST_F(OperationsOverADelegate, ShowTheInformationFileWhereTheTopIsOutOfBounds) {
    device->failNth(Request::Info, 1, kAFCPermissionDenied);
    const auto entry = operations.lookUp(caller, kRootNode, ".xdg-volume-info");
    ASSERT_TRUE(entry);
    const auto handle = operations.open(caller, entry->node, O_RDONLY);
    char bytes[32] = {};
    EXPECT_EQ(*operations.read(caller, *handle, bytes, sizeof bytes, 0), 11U);
    EXPECT_EQ(std::string(bytes), "information");
    operations.release(*handle);
    device->failNth(Request::Info, 1, kAFCPermissionDenied);
    EXPECT_EQ(operations.lookUp(caller, kRootNode, "other").error(), EACCES);
    device->failNth(Request::Info, 1, kAFCConnectionLost);
    EXPECT_EQ(operations.lookUp(caller, kRootNode, ".xdg-volume-info").error(), EIO);
}

TEST_F(OperationsOverADelegate, SayOnceThatSmallWritesLinger) {
    const auto entry = operations.lookUp(caller, kRootNode, "a");
    const auto handle = operations.open(caller, entry->node, O_WRONLY);
    ASSERT_TRUE(handle);
    EXPECT_EQ(*operations.write(caller, *handle, "one", 3, 0), 3U);
    EXPECT_EQ(*operations.write(caller, *handle, "two", 3, 3), 3U);
    EXPECT_EQ(gatherings, 1);
    EXPECT_EQ(device->content("/a"), "A");
    operations.sendLingering();
    EXPECT_EQ(device->content("/a"), "onetwo");
    EXPECT_EQ(*operations.write(caller, *handle, "more", 4, 6), 4U);
    EXPECT_EQ(gatherings, 2);
    device->failNth(Request::Write, 1, kAFCNoSpaceLeft);
    operations.sendLingering();
    EXPECT_EQ(operations.flush(caller, *handle).error(), ENOSPC) << "told to whoever wrote";
}

}  // namespace
}  // namespace quillbox::volume
