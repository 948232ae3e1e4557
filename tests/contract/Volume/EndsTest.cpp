// SPDX-License-Identifier: GPL-3.0-or-later
// The ends of a volume that nobody asked for: connections that end, devices that leave, the
// program's end.
#include "LifeOfAVolume.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>

namespace quillbox::test {
namespace {

using Clock = std::chrono::steady_clock;

TEST_F(LifeOfAVolume, AnEndedConnectionGatesItsVolumes) {
    mount();
    const int file = ::open(at("/notes.txt").c_str(), O_RDWR | O_CLOEXEC);
    fileSystems->connectionEnds(kConnection + 1, false);
    EXPECT_EQ(statErrno("/notes.txt"), 0);
    fileSystems->connectionEnds(kConnection, false);
    const int calls = delegate->calls();
    EXPECT_EQ(statErrno("/notes.txt"), EIO);
    EXPECT_EQ(statErrno("/nothing"), EIO);
    EXPECT_EQ(statErrno("/.Trash"), EIO);
    EXPECT_EQ(statErrno("/.xdg-volume-info"), EIO);
    char byte = 'x';
    EXPECT_EQ(errnoOf(::pread(file, &byte, 1, 0)), EIO);
    EXPECT_EQ(errnoOf(::pwrite(file, &byte, 1, 0)), EIO);
    EXPECT_EQ(errnoOf(::unlink(at("/notes.txt").c_str())), EIO);
    EXPECT_EQ(errnoOf(::mkdir(at("/new").c_str(), 0755)), EIO);
    EXPECT_NE(shell("ls " + top + " > /dev/null 2>&1"), 0);
    ::close(file);
    EXPECT_TRUE(isInMountTable());
    EXPECT_TRUE(fileSystems->tombstones().empty());
    volume->unmount();
    EXPECT_EQ(delegate->calls(), calls);
    EXPECT_FALSE(exists(top));
}

TEST_F(LifeOfAVolume, AVolumeOutOfSightIsGatedToo) {
    mount();
    const int file = ::open(at("/notes.txt").c_str(), O_RDWR | O_CLOEXEC);
    volume->unmount();
    fileSystems->connectionEnds(kConnection, false);
    char byte = 'x';
    EXPECT_EQ(errnoOf(::pwrite(file, &byte, 1, 0)), EIO);
    const int calls = delegate->calls();
    ::close(file);
    loop.runFor(50ms);
    EXPECT_EQ(delegate->calls(), calls);
}

TEST_F(LifeOfAVolume, WhoWaitsAtTheEndOfAConnectionGetsAnErrorAtOnce) {
    mount();
    device->block(Request::Info);
    const pid_t first = asker("/notes.txt");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    const pid_t second = asker("/folder");
    std::this_thread::sleep_for(100ms);
    std::atomic<bool> isReleased = false;
    std::thread ender([&] {
        fileSystems->connectionEnds(kConnection, false);
        EXPECT_TRUE(isReleased);  // it waits for the call in flight
    });
    const int status = statusOf(second);
    EXPECT_EQ(WEXITSTATUS(status), EIO);
    std::this_thread::sleep_for(100ms);
    isReleased = true;
    device->unblock();
    ender.join();
    statusOf(first);
}

TEST_F(LifeOfAVolume, AQuestionThatFailsWhileTheConnectionEndsIsNoAbsence) {
    mount();
    device->block(Request::Info);
    const pid_t reader = asker("/nothing");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    std::thread ender([&] { fileSystems->connectionEnds(kConnection, false); });
    std::this_thread::sleep_for(100ms);
    device->unblock();
    EXPECT_EQ(WEXITSTATUS(statusOf(reader)), EIO);
    ender.join();
}

TEST_F(LifeOfAVolume, TheEndOfAConnectionDoesNotWaitForEver) {
    mount();
    device->block(Request::Info);
    const pid_t reader = asker("/notes.txt");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    const auto start = Clock::now();
    fileSystems->connectionEnds(kConnection, false);
    EXPECT_GT(Clock::now() - start, 4s);
    EXPECT_LT(Clock::now() - start, 20s);
    device->unblock();
    statusOf(reader);
}

TEST_F(LifeOfAVolume, ADepartedDevicesVolumeSaysSoAndGoesByItself) {
    mount();
    const auto start = Clock::now();
    fileSystems->connectionEnds(kConnection, true);
    EXPECT_EQ(fileSystems->tombstones(), std::vector<std::string>{top});
    EXPECT_EQ(statErrno("/notes.txt"), EIO);
    EXPECT_NE(shell("cp -r " + top + " " + folder.path() + "/copy 2>/dev/null"), 0);
    // The main thread does nothing at all meanwhile.
    EXPECT_TRUE(eventually([&] { return !isInMountTable() && isFree(); }));
    const auto time = Clock::now() - start;
    EXPECT_GT(time, 1s);
    EXPECT_FALSE(isInMountTable());
    EXPECT_TRUE(eventually([&] { return fileSystems->tombstones().empty(); }));
    EXPECT_TRUE(loop.runUntil([&] { return told() == 1; }));
    EXPECT_EQ(delegate->willUnmounts, 1);
}

TEST_F(LifeOfAVolume, ATombstoneGoesAlthoughItIsInUse) {
    mount();
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    const int directory = ::open(top.c_str(), O_DIRECTORY | O_RDONLY | O_CLOEXEC);
    fileSystems->connectionEnds(kConnection, true);
    EXPECT_TRUE(eventually([&] { return !isInMountTable() && isFree(); }));
    EXPECT_EQ(::faccessat(directory, "notes.txt", F_OK, 0), -1);
    EXPECT_EQ(errno, EIO);
    ::close(file);
    ::close(directory);
}

TEST_F(LifeOfAVolume, UnmountingATombstoneIsToldAtOnce) {
    mount();
    fileSystems->connectionEnds(kConnection, true);
    const auto start = Clock::now();
    volume->unmount();
    EXPECT_LT(Clock::now() - start, 1s);
    EXPECT_EQ(told(), 1U);
    EXPECT_EQ(delegate->willUnmounts, 1);
    EXPECT_TRUE(isInMountTable());
    EXPECT_EQ(statErrno("/notes.txt"), EIO);
    EXPECT_TRUE(eventually([&] { return !isInMountTable() && isFree(); }));
    loop.runFor(50ms);
    EXPECT_EQ(told(), 1U);
}

TEST_F(LifeOfAVolume, AMountEndsTheTombstoneInItsPlace) {
    mount();
    fileSystems->connectionEnds(kConnection, true);
    volume->unmount();
    auto other = fileSystems->initWithDelegate(delegate, false);
    other->mountAtPath(top, {});
    ASSERT_TRUE(
        loop.runUntil([&] { return notifications.count(kGMUserFileSystemDidMount) == 2; }, 1s));
    EXPECT_EQ(contentOf(at("/notes.txt")), "hello, volume");
    // The old volume's own end does not touch the new one.
    loop.runFor(1500ms);
    EXPECT_EQ(contentOf(at("/notes.txt")), "hello, volume");
    EXPECT_TRUE(fileSystems->tombstones().empty());
    other->unmount();
}

TEST_F(LifeOfAVolume, TheEndOfAllIsBounded) {
    mount();
    auto other = fileSystems->initWithDelegate(delegate, false);
    other->mountAtPath(folder.path() + "/other", {});
    ASSERT_TRUE(loop.runUntil([&] { return notifications.count(kGMUserFileSystemDidMount) == 2; }));
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    device->block(Request::Info);
    const pid_t reader = asker("/notes.txt");
    ASSERT_TRUE(eventually([&] { return device->held() == 1; }));
    const auto start = Clock::now();
    fileSystems->endAll();
    EXPECT_LT(Clock::now() - start, 15s);
    EXPECT_EQ(told(), 2U);
    EXPECT_FALSE(exists(top));
    EXPECT_FALSE(exists(folder.path() + "/other"));
    ::close(file);
    device->unblock();
    statusOf(reader);
}

TEST_F(LifeOfAVolume, FilesLeftOpenDoNotKeepTheProgram) {
    mount();
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    volume->unmount();
    const std::weak_ptr<MemoryDelegate> watched = delegate;
    delegate.reset();
    const auto start = Clock::now();
    fileSystems.reset();
    EXPECT_LT(Clock::now() - start, 15s);
    EXPECT_TRUE(watched.expired());
    char byte = 0;
    EXPECT_LT(::pread(file, &byte, 1, 0), 0);
    ::close(file);
}

TEST_F(LifeOfAVolume, VolumesCanBeAskedForAfterTheEndOfAll) {
    fileSystems.reset();
    volume->mountAtPath(top, {});
    volume->unmount();
    EXPECT_FALSE(exists(top));
}

}  // namespace
}  // namespace quillbox::test
