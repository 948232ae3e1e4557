// SPDX-License-Identifier: GPL-3.0-or-later
// The life of a volume: mounting, unmounting by us and by others, programs that are killed.
#include "LifeOfAVolume.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>

namespace quillbox::test {
namespace {

using Clock = std::chrono::steady_clock;

TEST_F(LifeOfAVolume, FilesHaveTheirNumbersAgainAfterTheNextMount) {
    const auto numberOf = [this](const std::string& where) {
        volume->mountAtPath(where, {});
        EXPECT_TRUE(loop.runUntil([&] { return exists(where + "/notes.txt"); }));
        struct stat attributes = {};
        EXPECT_EQ(::lstat((where + "/folder/inner.txt").c_str(), &attributes), 0);
        volume->unmount();
        return attributes.st_ino;
    };
    const auto number = numberOf(top);
    // Only a computer without an identity has new ones.
    const bool hasIdentity = contentOf("/etc/machine-id").size() == 33;
    EXPECT_EQ(numberOf(top) == number, hasIdentity);
    EXPECT_NE(numberOf(folder.path() + "/other"), number);
}

TEST_F(LifeOfAVolume, IsMountedAndUnmounted) {
    mount();
    EXPECT_EQ(delegate->willMounts, 1);
    EXPECT_EQ(notifications.posted.front().object, volume.get());
    EXPECT_TRUE(isInMountTable());
    EXPECT_EQ(contentOf(at("/notes.txt")), "hello, volume");
    volume->unmount();
    EXPECT_EQ(delegate->willUnmounts, 1);
    EXPECT_EQ(told(), 1U);
    EXPECT_FALSE(isInMountTable());
    EXPECT_FALSE(exists(top));
    volume->unmount();
    EXPECT_EQ(told(), 1U);
    loop.runFor(100ms);
    EXPECT_EQ(told(), 1U);
    EXPECT_EQ(notifications.count(kGMUserFileSystemMountFailed), 0U);
}

TEST_F(LifeOfAVolume, IsMountedAgain) {
    for (std::size_t turn = 1; turn <= 5; ++turn) {
        volume->mountAtPath(top, {});
        ASSERT_TRUE(
            loop.runUntil([&] { return notifications.count(kGMUserFileSystemDidMount) == turn; }));
        EXPECT_EQ(contentOf(at("/notes.txt")), "hello, volume");
        volume->unmount();
        EXPECT_FALSE(exists(top));
    }
}

TEST_F(LifeOfAVolume, HasTheTypeAndOptionsThatItShould) {
    mount({"volname=x,allow_other\\,dev\nroot", "volicon=/icons/a b.png", "mystery"});
    const std::string table = contentOf("/proc/self/mountinfo");
    const auto start = table.rfind('\n', table.find(" " + top + " ")) + 1;
    const std::string line = table.substr(start, table.find('\n', start) - start);
    EXPECT_NE(line.find(" fuse.quillbox x,allow_other\\134,devroot "), std::string::npos) << line;
    EXPECT_NE(line.find("nosuid,nodev"), std::string::npos) << line;
    EXPECT_EQ(line.find("allow_other", line.find(" rw,", line.find(" - "))), std::string::npos)
        << line;
    EXPECT_TRUE(log.has("\"mystery\" is not known"));
    EXPECT_EQ(contentOf(at("/.xdg-volume-info")),
              "[Volume Info]\nName=x,allow_other\\\\,dev\\nroot\nIconFile=/icons/a b.png\n");
}

TEST_F(LifeOfAVolume, OthersAreLetInWhenAsked) {
    mount({"allow_other", "local"});
    const std::string table = contentOf("/proc/self/mountinfo");
    EXPECT_NE(table.find("allow_other", table.find(" " + top + " ")), std::string::npos);
    EXPECT_FALSE(log.has("not known"));
}

TEST_F(LifeOfAVolume, AnEmptyFolderServesAndStays) {
    std::filesystem::create_directory(top);
    mount();
    volume->unmount();
    EXPECT_FALSE(isInMountTable());
    EXPECT_TRUE(exists(top));
}

TEST_F(LifeOfAVolume, AFolderWithContentIsLeftAlone) {
    std::filesystem::create_directory(top);
    std::ofstream(top + "/mine") << "mine";
    volume->mountAtPath(top, {});
    ASSERT_TRUE(
        loop.runUntil([&] { return notifications.count(kGMUserFileSystemMountFailed) == 1; }));
    const Notification& notice = notifications.posted.front();
    const NSError& error = notice.userInfo.at(std::string(kGMUserFileSystemErrorKey));
    EXPECT_EQ(error.domain, NSPOSIXErrorDomain);
    EXPECT_EQ(error.code, ENOTEMPTY);
    EXPECT_NE(error.localizedDescription.find(top), std::string::npos);
    EXPECT_EQ(contentOf(top + "/mine"), "mine");
    volume->unmount();
    EXPECT_EQ(told(), 0U);
}

TEST_F(LifeOfAVolume, AMountThatFailsLeavesNoFolder) {
    volume->mountAtPath(folder.path() + "/missing/phone", {});
    ASSERT_TRUE(
        loop.runUntil([&] { return notifications.count(kGMUserFileSystemMountFailed) == 1; }));
    hasBacking = false;
    volume->mountAtPath(top, {});
    ASSERT_TRUE(
        loop.runUntil([&] { return notifications.count(kGMUserFileSystemMountFailed) == 2; }));
    EXPECT_FALSE(exists(top));
    EXPECT_EQ(notifications.count(kGMUserFileSystemDidMount), 0U);
}

TEST_F(LifeOfAVolume, ASecondMountAtTheSamePathFails) {
    mount();
    auto other = fileSystems->initWithDelegate(delegate, false);
    other->mountAtPath(top, {});
    ASSERT_TRUE(
        loop.runUntil([&] { return notifications.count(kGMUserFileSystemMountFailed) == 1; }));
    EXPECT_EQ(contentOf(at("/notes.txt")), "hello, volume");
}

TEST_F(LifeOfAVolume, UnmountOfAStartingVolumeEndsIt) {
    for (int i = 0; i < 20; ++i) {
        volume->mountAtPath(top, {});
        if (i % 2 == 1) {
            std::this_thread::sleep_for(std::chrono::microseconds(i * 300));
        }
        volume->unmount();
        EXPECT_FALSE(isInMountTable());
        EXPECT_FALSE(exists(top));
        loop.runFor(20ms);
        EXPECT_FALSE(exists(top));
    }
    EXPECT_EQ(notifications.count(kGMUserFileSystemMountFailed), 0U);
    EXPECT_EQ(notifications.count(kGMUserFileSystemDidMount), 0U);
}

TEST_F(LifeOfAVolume, UnmountingByAnybodyElseIsNoticed) {
    const std::vector<std::string> ways = {"umount ", "fusermount3 -u ", "umount -l "};
    for (std::size_t i = 0; i < ways.size(); ++i) {
        volume->mountAtPath(top, {});
        ASSERT_TRUE(
            loop.runUntil([&] { return notifications.count(kGMUserFileSystemDidMount) == i + 1; }));
        EXPECT_EQ(shell(ways[i] + top), 0);
        ASSERT_TRUE(loop.runUntil([&] { return told() == i + 1; }, 3s)) << ways[i];
        EXPECT_EQ(delegate->willUnmounts, static_cast<int>(i + 1));
        EXPECT_TRUE(eventually([&] { return !exists(top); }));
    }
    volume->unmount();
    EXPECT_EQ(told(), ways.size());
}

TEST_F(LifeOfAVolume, LazyUnmountingByAnybodyElseIsNoticedAtOnce) {
    mount();
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(shell("umount -l " + top), 0);
    EXPECT_TRUE(loop.runUntil([&] { return told() == 1; }, 3s));
    EXPECT_TRUE(eventually([&] { return !exists(top); }));
    char buffer[32] = {};
    EXPECT_EQ(::pread(file, buffer, sizeof buffer, 0), 13);
    ::close(file);
}

TEST_F(LifeOfAVolume, ABusyVolumeIsServedOutOfSight) {
    mount();
    const int file = ::open(at("/notes.txt").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(::pwrite(file, "J", 1, 0), 1);
    volume->unmount();
    EXPECT_EQ(told(), 1U);
    EXPECT_EQ(device->content("/notes.txt"), "Jello, volume");  // what was gathered is sent
    EXPECT_FALSE(exists(top));
    EXPECT_TRUE(log.has("is in use"));
    EXPECT_EQ(::pwrite(file, "HELLO", 5, 0), 5);
    EXPECT_EQ(::fsync(file), 0);
    EXPECT_EQ(device->content("/notes.txt"), "HELLO, volume");
    // The path is free again at once.
    auto other = fileSystems->initWithDelegate(delegate, false);
    other->mountAtPath(top, {});
    ASSERT_TRUE(loop.runUntil([&] { return notifications.count(kGMUserFileSystemDidMount) == 2; }));
    ::close(file);
    std::weak_ptr<MemoryDelegate> watched = delegate;
    EXPECT_TRUE(loop.runUntil([&] { return device->openFiles() == 0; }));
    EXPECT_TRUE(isInMountTable());
    other->unmount();
}

TEST_F(LifeOfAVolume, TheDelegateIsHeldUntilTheSessionHasEnded) {
    mount();
    const std::weak_ptr<MemoryDelegate> watched = delegate;
    delegate.reset();
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    volume->unmount();
    volume.reset();
    loop.runFor(50ms);
    EXPECT_FALSE(watched.expired());
    ::close(file);
    EXPECT_TRUE(loop.runUntil([&] { return watched.expired(); }));
}

TEST_F(LifeOfAVolume, UnmountingNeverWaitsForAStalledDevice) {
    mount();
    device->block(Request::Info);
    const pid_t reader = asker("/notes.txt");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    const auto start = Clock::now();
    volume->unmount();
    EXPECT_LT(Clock::now() - start, 15s);
    EXPECT_EQ(told(), 1U);
    EXPECT_FALSE(isInMountTable());
    EXPECT_FALSE(exists(top));
    device->unblock();
    EXPECT_EQ(statusOf(reader), 0);
}

TEST_F(LifeOfAVolume, AKilledProgramLeavesTheQueue) {
    mount();
    device->block(Request::Info);
    const pid_t first = asker("/notes.txt");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    const pid_t second = asker("/folder");
    std::this_thread::sleep_for(100ms);
    ::kill(second, SIGTERM);
    EXPECT_TRUE(eventually(
        [&] {
            int status = 0;
            return ::waitpid(second, &status, WNOHANG) == second && WIFSIGNALED(status);
        },
        5s));
    EXPECT_EQ(device->held(), 1);
    device->unblock();
    EXPECT_EQ(statusOf(first), 0);
    // The first program's look-up, and its attributes where the answer was long on its way.
    EXPECT_LE(delegate->calls(), 2);
}

TEST_F(LifeOfAVolume, ASignalThatIsHandledLeavesARequestAlone) {
    mount();
    device->block(Request::Info);
    const pid_t holder = asker("/notes.txt");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    const pid_t handler = asker("/folder", "--look-through-signals");
    std::this_thread::sleep_for(200ms);
    ::kill(handler, SIGUSR1);
    std::this_thread::sleep_for(200ms);
    // Killed only now, it still leaves at once: the kernel does not tell a second time.
    const pid_t victim = asker("/other", "--look-through-signals");
    std::this_thread::sleep_for(200ms);
    ::kill(victim, SIGUSR1);
    std::this_thread::sleep_for(100ms);
    ::kill(victim, SIGKILL);
    EXPECT_TRUE(eventually(
        [&] {
            int status = 0;
            return ::waitpid(victim, &status, WNOHANG) == victim && WIFSIGNALED(status);
        },
        5s));
    device->unblock();
    EXPECT_EQ(statusOf(handler), 0);
    EXPECT_EQ(statusOf(holder), 0);
}

TEST_F(LifeOfAVolume, AStalledDeviceLeavesWhatNeedsNoDeviceAlone) {
    mount();
    const int file = ::open(at("/.xdg-volume-info").c_str(), O_RDONLY | O_CLOEXEC);
    device->block(Request::Info);
    const pid_t holder = asker("/notes.txt");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    EXPECT_EQ(statErrno("/.Trash"), ENOENT);
    char byte = 0;
    EXPECT_EQ(::pread(file, &byte, 1, 0), 1);
    EXPECT_EQ(byte, '[');
    ::close(file);
    device->unblock();
    EXPECT_EQ(statusOf(holder), 0);
}

TEST_F(LifeOfAVolume, AMoreThanBusyVolumeStillHearsOfKills) {
    mount();
    device->block(Request::Info);
    std::vector<pid_t> readers;
    for (int i = 0; i < 130; ++i) {
        readers.push_back(asker("/notes.txt"));
    }
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    std::this_thread::sleep_for(500ms);
    for (std::size_t i = 0; i < readers.size(); i += 2) {
        ::kill(readers[i], SIGKILL);
    }
    device->unblock();
    for (const pid_t reader : readers) {
        const int status = statusOf(reader);
        EXPECT_TRUE(WIFSIGNALED(status) || status == 0);
    }
    EXPECT_EQ(statErrno("/notes.txt"), 0);
}

}  // namespace
}  // namespace quillbox::test
