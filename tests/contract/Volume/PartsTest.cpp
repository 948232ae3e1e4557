// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of the adapter that need no mount.
#include "Linux/Volume/Attributes.h"
#include "Linux/Volume/DelegateQueue.h"
#include "Linux/Volume/Errors.h"
#include "Linux/Volume/GatheredWrites.h"
#include "Linux/Volume/InodeSeed.h"
#include "Linux/Volume/LeftFolders.h"
#include "Linux/Volume/MountOptions.h"
#include "Linux/Volume/MountPoint.h"
#include "Linux/Volume/MountTable.h"
#include "Linux/Volume/Nodes.h"
#include "Linux/Volume/VolumeInformation.h"
#include "MountedVolume.h"

#include <atomic>
#include <thread>

namespace quillbox::volume {
namespace {

using Added = GatheredWrites::Added;

std::optional<NSError> posix(int code) {
    return NSError::errorWithDomain(NSPOSIXErrorDomain, code);
}

TEST(ErrorsOfADevice, HaveTheirNumbers) {
    const std::vector<std::pair<AFCError, int>> table = {
        {kAFCSuccess, EIO},
        {kAFCUnknownError, EIO},
        {kAFCInvalidArgument, EIO},
        {kAFCObjectNotFound, ENOENT},
        {kAFCObjectIsDirectory, EISDIR},
        {kAFCPermissionDenied, EACCES},
        {kAFCServiceNotConnected, EIO},
        {kAFCTimedOut, ETIMEDOUT},
        {kAFCEndOfData, EIO},
        {kAFCOperationNotSupported, EIO},
        {kAFCObjectExists, EEXIST},
        {kAFCObjectBusy, EBUSY},
        {kAFCNoSpaceLeft, ENOSPC},
        {kAFCIOError, EIO},
        {kAFCInternalError, EIO},
        {kAFCMultiplexerError, EIO},
        {kAFCDirectoryNotEmpty, ENOTEMPTY},
        {kAFCConnectionLost, EIO},
        {4711, EIO},
    };
    for (const auto& [reason, number] : table) {
        EXPECT_EQ(errnoOfDevice(reason), number) << reason;
        for (const auto& vague : {posix(ENOENT), posix(EIO), posix(0), posix(-2), posix(4096),
                                  std::optional<NSError>(NSError::errorWithDomain("other", ENOSYS)),
                                  std::optional<NSError>()}) {
            EXPECT_EQ(errnoOfRefusal(vague, reason), number) << reason;
        }
        EXPECT_EQ(errnoOfRefusal(posix(ENOTSUP), reason), ENOTSUP);
        EXPECT_EQ(errnoOfRefusal(posix(EINVAL), reason), EINVAL);
        EXPECT_EQ(errnoOfRefusal(posix(4095), reason), 4095);
        EXPECT_EQ(errnoOfRefusal(posix(EPERM), reason), reason == 0 ? EPERM : number);
        EXPECT_EQ(errnoOfRemoval(reason),
                  reason == kAFCSuccess || reason == kAFCObjectNotFound ? 0 : number);
    }
}

TEST(OptionsOfAMount, AreReadAndEscaped) {
    const auto options = MountOptions::parse(
        {"volicon=/a,b", "volname=x=y", "direct_io", "allow_other", "local", "huh", "volname"});
    EXPECT_EQ(options.volumeName, "x=y");
    EXPECT_EQ(options.iconPath, "/a,b");
    EXPECT_TRUE(options.wantsOtherUsers);
    EXPECT_EQ(options.unknown, (std::vector<std::string>{"huh", "volname"}));
    EXPECT_EQ(fuseOptionText("x,allow_other\\", false),
              "fsname=x\\,allow_other\\\\,subtype=quillbox,nosuid,nodev");
    EXPECT_EQ(fuseOptionText("", true),
              "fsname=quillbox,subtype=quillbox,nosuid,nodev,allow_other");
}

TEST(OptionsOfAMount, AdmitOthersWhereTheSystemSaysSo) {
    const test::VolumesFolder folder;
    const std::string file = folder.path() + "/fuse.conf";
    EXPECT_TRUE(mayAdmitOthers(true, {}));
    EXPECT_FALSE(mayAdmitOthers(false, {file}));
    std::ofstream(file) << "# user_allow_other\nmount_max = 10\n#user_allow_other\n";
    EXPECT_FALSE(mayAdmitOthers(false, {file}));
    std::ofstream(file) << "mount_max = 10\n  user_allow_other \n";
    EXPECT_TRUE(mayAdmitOthers(false, {"/nowhere", file}));
}

TEST(TheMountTable, IsRead) {
    const auto mounts = parseMountTable(
        "36 35 0:98 / /mnt/a\\040b rw,noatime shared:1 master:2 - fuse.quillbox x\\134y "
        "rw,user_id=1000,group_id=5\n"
        "nonsense\n37 35 0:9 / /tmp rw - tmpfs\n\n38 35 8:1 / / rw - ext4 /dev/sda rw\n");
    ASSERT_EQ(mounts.size(), 2U);
    EXPECT_EQ(mounts[0].deviceMinor, 98U);
    EXPECT_EQ(mounts[0].mountPoint, "/mnt/a b");
    EXPECT_EQ(mounts[0].type, "fuse.quillbox");
    EXPECT_EQ(mounts[0].source, "x\\y");
    EXPECT_EQ(mounts[0].option("user_id"), "1000");
    EXPECT_EQ(mounts[0].option("user"), std::nullopt);
    EXPECT_EQ(mounts[1].mountPoint, "/");
}

TEST(TheInformationFile, CannotGetAnotherLine) {
    EXPECT_EQ(volumeInformation(" a\nIcon=x", "/i"),
              "[Volume Info]\nName=\\sa\\nIcon=x\nIconFile=/i\n");
}

class Nodes : public testing::Test {
protected:
    quillbox::volume::Nodes nodes{1};

    NodeId file(NodeId parent, const std::string& name) {
        return *nodes.remember(parent, name, S_IFREG, false);
    }
};

TEST_F(Nodes, AreForgottenWithTheirFolders) {
    const NodeId folder = *nodes.remember(kRootNode, "folder", S_IFDIR, false);
    const NodeId inner = file(folder, "inner");
    EXPECT_EQ(file(folder, "inner"), inner);
    nodes.forget(folder, 1);
    EXPECT_EQ(nodes.path(inner), "/folder/inner");
    nodes.forget(inner, 1);
    EXPECT_EQ(nodes.count(), 3U);
    nodes.hold(inner);
    nodes.forget(inner, 100);
    EXPECT_EQ(nodes.count(), 3U);
    nodes.letGo(inner);
    EXPECT_EQ(nodes.count(), 1U);
    EXPECT_GT(file(kRootNode, "folder"), inner);  // numbers are never used again
}

TEST_F(Nodes, KeepTheirLastPathWhenRemoved) {
    const NodeId folder = *nodes.remember(kRootNode, "folder", S_IFDIR, false);
    const NodeId inner = file(folder, "inner");
    nodes.moved(kRootNode, "folder", kRootNode, "other");
    EXPECT_EQ(nodes.path(inner), "/other/inner");
    nodes.removed(folder, "inner");
    nodes.removed(kRootNode, "other");
    EXPECT_TRUE(nodes.isRemoved(inner));
    EXPECT_EQ(nodes.path(inner), "/other/inner");
    EXPECT_EQ(nodes.childPath(folder, "x"), std::nullopt);
    EXPECT_NE(nodes.kept(inner)->st_ino, nodes.inode("/other/inner"));
}

TEST_F(Nodes, OfOneFileWithTwoNamesHaveOneNumber) {
    const NodeId first = file(kRootNode, "file");
    nodes.linked(first, kRootNode, "second");
    EXPECT_EQ(nodes.kept(first)->st_nlink, 2U);
    nodes.linked(file(kRootNode, "second"), kRootNode, "third");
    EXPECT_EQ(nodes.inode("/second"), nodes.inode("/file"));
    EXPECT_EQ(nodes.inode("/third"), nodes.inode("/file"));
    nodes.removed(kRootNode, "second");
    EXPECT_NE(nodes.inode("/second"), nodes.inode("/file"));
    EXPECT_EQ(nodes.inode("/third"), nodes.inode("/file"));
}

TEST_F(Nodes, AFileMadeWhereALinkedOneWasHasANumberOfItsOwn) {
    const auto before = nodes.inode("/file");
    nodes.linked(file(kRootNode, "file"), kRootNode, "second");
    for (int times = 0; times < 3; ++times) {
        nodes.removed(kRootNode, "file");
        EXPECT_NE(nodes.inode("/file"), nodes.inode("/second"));
        EXPECT_EQ(nodes.inode("/second"), before);
    }
    nodes.moved(kRootNode, "second", kRootNode, "third");
    nodes.removed(kRootNode, "file");
    EXPECT_EQ(nodes.inode("/file"), before);
}

TEST_F(Nodes, LinksBelowARemovedFolderAreForgotten) {
    const NodeId folder = *nodes.remember(kRootNode, "folder", S_IFDIR, false);
    nodes.linked(file(kRootNode, "file"), folder, "second");
    nodes.removed(kRootNode, "folder");
    EXPECT_NE(nodes.inode("/folder/second"), nodes.inode("/file"));
}

TEST(InodeNumbers, AreTheSameForAComputerAUserAndAPath) {
    const test::VolumesFolder folder;
    const std::string file = folder.path() + "/machine-id";
    const auto seed = [&](const std::string& path, uid_t user) {
        return inodeSeed(path, user, file);
    };
    EXPECT_NE(seed("/Volumes/a", 1), seed("/Volumes/a", 1)) << "a computer without identity";
    std::ofstream(file) << "uninitialized\n";
    EXPECT_NE(seed("/Volumes/a", 1), seed("/Volumes/a", 1));
    std::ofstream(file) << "0123456789abcdef0123456789abcdef\n";
    const auto one = seed("/Volumes/a", 1);
    EXPECT_EQ(seed("/Volumes/a", 1), one);
    EXPECT_NE(seed("/Volumes/b", 1), one);
    EXPECT_NE(seed("/Volumes/a", 11), one);
    std::ofstream(file) << "0123456789abcdef0123456789abcdee\n";
    EXPECT_NE(seed("/Volumes/a", 1), one);
}

class TestCaller final : public Caller {
public:
    void whenSignalled(std::function<void()> signalled) override {
        const std::lock_guard lock(mutex_);
        signalled_ = std::move(signalled);
    }

    bool isKilled() const override { return isKilled_; }

    bool signal() {
        const std::lock_guard lock(mutex_);
        if (signalled_) {
            signalled_();
        }
        return signalled_ != nullptr;
    }

    std::atomic<bool> isKilled_ = false;

private:
    std::mutex mutex_;
    std::function<void()> signalled_;
};

TEST(TheWayToADelegate, IsFirstComeFirstServed) {
    DelegateQueue queue(true);
    TestCaller holder;
    std::optional<Result<DelegateQueue::Turn>> turn;
    turn.emplace(queue.enter(holder));
    std::vector<int> order;
    std::vector<std::thread> threads;
    std::vector<std::unique_ptr<TestCaller>> callers;
    for (int i = 0; i < 5; ++i) {
        callers.push_back(std::make_unique<TestCaller>());
        threads.emplace_back([&, i, caller = callers.back().get()] {
            const auto mine = queue.enter(*caller);
            EXPECT_TRUE(mine);
            order.push_back(i);  // one at a time: no lock needed
        });
        while (!callers.back()->signal()) {
            std::this_thread::yield();
        }
    }
    turn.reset();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(TheWayToADelegate, IsLeftByTheKilledAndClosedForAll) {
    DelegateQueue queue(true);
    TestCaller holder;
    auto turn = queue.enter(holder);
    TestCaller killed;
    TestCaller waiting;
    std::thread first([&] { EXPECT_EQ(queue.enter(killed).error(), EINTR); });
    std::thread second([&] { EXPECT_EQ(queue.enter(waiting).error(), EIO); });
    while (!killed.signal() || !waiting.signal()) {
        std::this_thread::yield();
    }
    killed.isKilled_ = true;  // noticed although no further signal comes
    first.join();
    queue.close();
    second.join();
    EXPECT_EQ(queue.enter(waiting).error(), EIO);
    std::thread other([&] {
        EXPECT_FALSE(
            queue.waitUntilIdle(std::chrono::steady_clock::now() + std::chrono::milliseconds(20)));
    });
    other.join();
    // The thread that is inside does not wait for itself.
    EXPECT_TRUE(queue.waitUntilIdle(std::chrono::steady_clock::now()));
}

TEST(FiguresOfAVolume, NeverShowMoreFreeThanThereIs) {
    const auto figures = [](std::uint64_t size, std::uint64_t free) {
        return statvfsOf(PropertyDictionary{{std::string(NSFileSystemSize), size},
                                            {std::string(NSFileSystemFreeSize), free}});
    };
    EXPECT_EQ(figures(40'960, 8'192).f_bfree, 2U);
    EXPECT_EQ(figures(40'960, 81'920).f_bfree, 10U);
    EXPECT_EQ(figures(40'960, 81'920).f_bavail, 10U);
}

TEST(GatheredWrites, TakeWhatGoesOnAndNothingElse) {
    GatheredWrites gathered;
    EXPECT_TRUE(gathered.isEmpty());
    EXPECT_EQ(gathered.add(5, 1, "abc", 3, 10), Added::First);
    EXPECT_EQ(gathered.add(5, 1, "de", 2, 13), Added::More);
    EXPECT_EQ(gathered.add(5, 1, "x", 1, 10), Added::No) << "elsewhere";
    EXPECT_EQ(gathered.add(5, 2, "x", 1, 15), Added::No) << "through another handle";
    EXPECT_EQ(gathered.add(6, 2, "f", 1, 0), Added::More);
    const std::string large(GatheredWrites::kLarge, 'l');
    EXPECT_EQ(gathered.add(7, 3, large.data(), large.size(), 0), Added::No) << "worth a request";
    const auto run = gathered.take(5);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->handle, 1U);
    EXPECT_EQ(run->offset, 10);
    EXPECT_EQ(std::string(run->bytes.get(), run->size), "abcde");
    EXPECT_FALSE(gathered.take(5));
    EXPECT_EQ(gathered.takeAny()->node, 6U);
    EXPECT_TRUE(gathered.isEmpty());
    EXPECT_EQ(gathered.add(5, 1, "abc", 3, 10), Added::First);
}

TEST(GatheredWrites, AreBounded) {
    GatheredWrites gathered;
    const std::string piece(256U << 10U, 'p');
    std::int64_t offset = 0;
    while (gathered.add(1, 1, piece.data(), piece.size(), offset) != Added::No) {
        offset += static_cast<std::int64_t>(piece.size());
    }
    EXPECT_EQ(static_cast<std::size_t>(offset), GatheredWrites::kMostOfAFile);
    std::size_t total = 0;
    for (NodeId node = 2; gathered.add(node, 1, piece.data(), piece.size(), 0) != Added::No;
         ++node) {
        total += piece.size();
    }
    EXPECT_EQ(total + GatheredWrites::kMostOfAFile, GatheredWrites::kMostInAll);
}

TEST(TheFolderOfAVolume, StaysOursWhenItCouldNotBeRemoved) {
    const test::VolumesFolder volumes;
    const std::string path = volumes.path() + "/Blue Phone";
    const auto left = std::make_shared<LeftFolders>();
    const auto leave = [&] {
        MountPoint point(path, left);
        EXPECT_EQ(point.prepare(), 0);
        std::ofstream(path + "/stray") << "written before the volume was there";
        point.remove();
        EXPECT_TRUE(std::filesystem::exists(path + "/stray"));
        EXPECT_EQ(MountPoint(path, left).prepare(), ENOTEMPTY);
        std::filesystem::remove(path + "/stray");
    };
    leave();
    MountPoint next(path, left);
    EXPECT_EQ(next.prepare(), 0);
    next.remove();
    EXPECT_FALSE(std::filesystem::exists(path));
    leave();
    left->removeEmpty();
    EXPECT_FALSE(std::filesystem::exists(path));

    leave();
    std::filesystem::create_directory(path + " of theirs");
    std::filesystem::remove(path);
    std::filesystem::rename(path + " of theirs", path);
    MountPoint theirs(path, left);
    EXPECT_EQ(theirs.prepare(), 0);
    theirs.remove();
    left->removeEmpty();
    EXPECT_TRUE(std::filesystem::exists(path)) << "made by somebody else";
}

}  // namespace
}  // namespace quillbox::volume
