// SPDX-License-Identifier: GPL-3.0-or-later
// Files on a real mount: their content, sizes and dates, and what open programs see.
#include "MountedVolume.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>

namespace quillbox::test {
namespace {

class FilesOnAVolume : public MountedVolume {
protected:
    void SetUp() override {
        device->put("/notes.txt", "hello, volume");
        device->putFolder("/folder");
        device->put("/folder/inner.txt", "inside");
        mount();
    }

    static struct stat statOf(int file) {
        struct stat attributes = {};
        EXPECT_EQ(::fstat(file, &attributes), 0) << errno;
        return attributes;
    }

    static struct stat statOf(const std::string& path) {
        struct stat attributes = {};
        EXPECT_EQ(::lstat(path.c_str(), &attributes), 0) << errno;
        return attributes;
    }
};

TEST_F(FilesOnAVolume, AreReadWhole) {
    EXPECT_EQ(contentOf(at("/notes.txt")), "hello, volume");
    EXPECT_EQ(contentOf(at("/folder/inner.txt")), "inside");
    EXPECT_FALSE(delegate->wasCalledTwiceAtOnce());
}

TEST_F(FilesOnAVolume, ReadBehindTheEndGivesNothing) {
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    char byte = 0;
    EXPECT_EQ(::pread(file, &byte, 1, 13), 0);
    EXPECT_EQ(::pread(file, &byte, 1, 1'000'000), 0);
    ::close(file);
}

TEST_F(FilesOnAVolume, ShortAnswersOfTheDelegateAreNotTheEnd) {
    std::string content;
    for (int i = 0; i < 100'000; ++i) {
        content += static_cast<char>('a' + i % 23);
    }
    device->put("/long", content);
    device->limitReads(777);
    EXPECT_EQ(contentOf(at("/long")), content);
}

TEST_F(FilesOnAVolume, AnEndBeforeTheEndIsAnError) {
    device->put("/long", std::string(20'000, 'x'));
    device->endReadsAt(8'192);
    EXPECT_NE(shell("cat " + at("/long") + " > /dev/null 2>&1"), 0);
    EXPECT_NE(shell("cp " + at("/long") + " " + folder.path() + "/copy 2>/dev/null"), 0);
    device->endReadsAt(20'000);
    EXPECT_EQ(contentOf(at("/long")).size(), 20'000U);
}

TEST_F(FilesOnAVolume, CopiesInBothDirectionsKeepEveryByte) {
    std::string content(3'000'000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 2654435761U >> 24U);
    }
    std::ofstream(folder.path() + "/source", std::ios::binary) << content;
    EXPECT_EQ(shell("cp " + folder.path() + "/source " + at("/copy")), 0);
    EXPECT_TRUE(device->content("/copy") == content);
    EXPECT_EQ(shell("cp " + at("/copy") + " " + folder.path() + "/back"), 0);
    EXPECT_TRUE(contentOf(folder.path() + "/back") == content);
    EXPECT_EQ(device->openFiles(), 0U);
    // Large writes travel in large requests.
    EXPECT_LE(device->count(Request::Write), 24);
}

TEST_F(FilesOnAVolume, OverwritingALongerFileLeavesExactlyTheShorterOne) {
    device->put("/long", std::string(10'000, 'x'));
    std::ofstream(folder.path() + "/short") << "short";
    EXPECT_EQ(shell("cp " + folder.path() + "/short " + at("/long")), 0);
    EXPECT_EQ(device->content("/long"), "short");
    EXPECT_EQ(contentOf(at("/long")), "short");
}

TEST_F(FilesOnAVolume, TruncatingOpensAndCreationsCut) {
    int file = ::open(at("/notes.txt").c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    ASSERT_GE(file, 0);
    EXPECT_EQ(device->content("/notes.txt"), "");
    ::close(file);
    device->put("/notes.txt", "again");
    file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_TRUNC | O_CLOEXEC);
    EXPECT_GE(file, 0);
    EXPECT_EQ(device->content("/notes.txt"), "");
    ::close(file);
    file = ::open(at("/new").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    EXPECT_GE(file, 0);
    EXPECT_EQ(device->content("/new"), "");
    ::close(file);
}

TEST_F(FilesOnAVolume, ATruncatingOpenThatCannotCutFailsAndIsClosed) {
    device->failNth(Request::SetSize, 1, kAFCNoSpaceLeft);
    EXPECT_EQ(errnoOf(::open(at("/notes.txt").c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC)), ENOSPC);
    EXPECT_EQ(device->content("/notes.txt"), "hello, volume");
    EXPECT_EQ(device->openFiles(), 0U);
}

TEST_F(FilesOnAVolume, TruncateGivesAnySize) {
    EXPECT_EQ(shell("truncate -s 5 " + at("/notes.txt")), 0);
    EXPECT_EQ(device->content("/notes.txt"), "hello");
    EXPECT_EQ(shell("truncate -s 8 " + at("/notes.txt")), 0);
    EXPECT_EQ(contentOf(at("/notes.txt")), std::string("hello\0\0\0", 8));
    EXPECT_EQ(shell("truncate -s 0 " + at("/notes.txt")), 0);
    EXPECT_EQ(statOf(at("/notes.txt")).st_size, 0);
    device->failNth(Request::SetSize, 1, kAFCPermissionDenied);
    EXPECT_EQ(errnoOf(::truncate(at("/notes.txt").c_str(), 3)), EACCES);
}

TEST_F(FilesOnAVolume, TouchSetsTheDate) {
    EXPECT_EQ(shell("touch -d '2001-02-03 04:05:06.789 UTC' " + at("/notes.txt")), 0);
    EXPECT_EQ(device->item("/notes.txt")->modified, 981173106'789000000);
    EXPECT_EQ(statOf(at("/notes.txt")).st_mtim.tv_sec, 981173106);
    EXPECT_EQ(statOf(at("/notes.txt")).st_mtim.tv_nsec, 789000000);
    const auto before = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_EQ(shell("touch " + at("/notes.txt")), 0);
    EXPECT_GE(device->item("/notes.txt")->modified,
              std::chrono::duration_cast<std::chrono::nanoseconds>(before).count());
    EXPECT_NE(shell("touch -d '1969-01-01 UTC' " + at("/notes.txt") + " 2>/dev/null"), 0);
    device->failNth(Request::SetTime, 1, kAFCTimedOut);
    EXPECT_EQ(errnoOf(::utimensat(AT_FDCWD, at("/notes.txt").c_str(), nullptr, 0)), ETIMEDOUT);
}

TEST_F(FilesOnAVolume, AccessTimeModeAndOwnerAreAcceptedAndDropped) {
    const std::int64_t modified = device->item("/notes.txt")->modified;
    const timespec times[2] = {{12345, 0}, {0, UTIME_OMIT}};
    EXPECT_EQ(::utimensat(AT_FDCWD, at("/notes.txt").c_str(), times, 0), 0);
    EXPECT_EQ(::chmod(at("/notes.txt").c_str(), 0600), 0);
    EXPECT_EQ(::chown(at("/notes.txt").c_str(), 1, 1), 0);
    EXPECT_EQ(device->item("/notes.txt")->modified, modified);
    EXPECT_EQ(statOf(at("/notes.txt")).st_mode, mode_t{0100666});
    EXPECT_EQ(statOf(at("/notes.txt")).st_uid, ::getuid());
}

TEST_F(FilesOnAVolume, OnlyTheProgramsOwnFlagsReachTheDelegate) {
    const auto modeOf = [&](int flags) {
        ::close(::open(at("/notes.txt").c_str(), flags));
        return delegate->lastMode();
    };
    EXPECT_EQ(modeOf(O_RDONLY), O_RDONLY);
    EXPECT_EQ(modeOf(O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NOATIME | O_LARGEFILE), O_RDONLY);
    EXPECT_EQ(modeOf(O_RDONLY | O_NONBLOCK), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(modeOf(O_WRONLY | O_APPEND), O_WRONLY | O_APPEND);
    EXPECT_EQ(modeOf(O_RDWR | O_SYNC | O_TRUNC), O_RDWR);
}

TEST_F(FilesOnAVolume, TwoProgramsAppendWithoutLosingALine) {
    const std::string script = "for i in $(seq 50); do echo X$i >> " + at("/log") + "; done";
    std::string first = script;
    std::string second = script;
    first.replace(first.find('X'), 1, "a");
    second.replace(second.find('X'), 1, "b");
    EXPECT_EQ(shell("(" + first + ") & (" + second + "); wait"), 0);
    const std::string content = device->content("/log");
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 100);
    EXPECT_EQ(statOf(at("/log")).st_size, static_cast<off_t>(content.size()));
}

TEST_F(FilesOnAVolume, AreMappedForReadingAndForSharedWriting) {
    const int file = ::open(at("/notes.txt").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(file, 0);
    void* bytes = ::mmap(nullptr, 13, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ASSERT_NE(bytes, MAP_FAILED) << errno;
    EXPECT_EQ(std::string(static_cast<char*>(bytes), 13), "hello, volume");
    static_cast<char*>(bytes)[0] = 'H';
    EXPECT_EQ(::msync(bytes, 13, MS_SYNC), 0);
    EXPECT_EQ(device->content("/notes.txt"), "Hello, volume");
    ::munmap(bytes, 13);
    ::close(file);
}

TEST_F(FilesOnAVolume, KeepTheirContentWhenRemovedWhileOpen) {
    const int file = ::open(at("/notes.txt").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(file, 0);
    EXPECT_EQ(::unlink(at("/notes.txt").c_str()), 0);
    EXPECT_FALSE(device->has("/notes.txt"));
    EXPECT_EQ(output("ls -A " + top), "folder\n");
    EXPECT_EQ(statOf(file).st_nlink, 0U);
    EXPECT_EQ(statOf(file).st_size, 13);
    char buffer[32] = {};
    EXPECT_EQ(::pread(file, buffer, sizeof buffer, 0), 13);
    EXPECT_EQ(std::string(buffer), "hello, volume");
    EXPECT_EQ(::pwrite(file, "!!!", 3, 13), 3);
    EXPECT_EQ(statOf(file).st_size, 16);
    EXPECT_EQ(::ftruncate(file, 4), 0);
    EXPECT_EQ(statOf(file).st_size, 4);
    EXPECT_EQ(::futimens(file, nullptr), 0);
    // A new file of that name is another one.
    std::ofstream(at("/notes.txt")) << "new";
    EXPECT_EQ(statOf(file).st_size, 4);
    EXPECT_NE(statOf(file).st_ino, statOf(at("/notes.txt")).st_ino);
    EXPECT_EQ(device->content("/notes.txt"), "new");
    ::close(file);
}

TEST_F(FilesOnAVolume, KeepTheirContentWhenReplacedWhileOpen) {
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::rename(at("/folder/inner.txt").c_str(), at("/notes.txt").c_str()), 0);
    char buffer[32] = {};
    EXPECT_EQ(::pread(file, buffer, sizeof buffer, 0), 13);
    EXPECT_EQ(statOf(file).st_nlink, 0U);
    EXPECT_EQ(contentOf(at("/notes.txt")), "inside");
    ::close(file);
}

TEST_F(FilesOnAVolume, FollowARenameWhileOpen) {
    const int file = ::open(at("/folder/inner.txt").c_str(), O_RDWR | O_CLOEXEC);
    const ino_t before = statOf(file).st_ino;
    EXPECT_EQ(::rename(at("/folder").c_str(), at("/moved").c_str()), 0);
    EXPECT_EQ(::pwrite(file, "INSIDE", 6, 0), 6);
    EXPECT_EQ(device->content("/moved/inner.txt"), "inside");  // a small write is gathered
    EXPECT_EQ(::fsync(file), 0);
    EXPECT_EQ(device->content("/moved/inner.txt"), "INSIDE");
    EXPECT_EQ(statOf(file).st_size, 6);
    EXPECT_EQ(statOf(file).st_ino, statOf(at("/moved/inner.txt")).st_ino);
    EXPECT_NE(statOf(file).st_ino, before);
    EXPECT_EQ(::ftruncate(file, 2), 0);
    EXPECT_EQ(device->content("/moved/inner.txt"), "IN");
    ::close(file);
    EXPECT_EQ(contentOf(at("/moved/inner.txt")), "IN");  // the release has been heard by now
    EXPECT_EQ(delegate->lastReleased(), "/moved/inner.txt");
}

TEST_F(FilesOnAVolume, InodeNumbersFollowThePath) {
    const ino_t number = statOf(at("/notes.txt")).st_ino;
    EXPECT_GT(number, 1U);
    EXPECT_EQ(::rename(at("/notes.txt").c_str(), at("/other").c_str()), 0);
    EXPECT_NE(statOf(at("/other")).st_ino, number);
    EXPECT_EQ(::rename(at("/other").c_str(), at("/notes.txt").c_str()), 0);
    EXPECT_EQ(statOf(at("/notes.txt")).st_ino, number);
    EXPECT_NE(output("ls -i " + top).find(std::to_string(number) + " notes.txt\n"),
              std::string::npos);
}

TEST_F(FilesOnAVolume, AttributesAreTheDelegates) {
    const struct stat file = statOf(at("/notes.txt"));
    EXPECT_EQ(file.st_mode, mode_t{0100666});
    EXPECT_EQ(file.st_size, 13);
    EXPECT_EQ(file.st_blocks, 1);
    EXPECT_EQ(file.st_nlink, 1U);
    EXPECT_EQ(file.st_mtim.tv_sec, 1'600'000'000);
    EXPECT_EQ(file.st_blksize, 1024 * 1024);
    EXPECT_EQ(file.st_uid, ::getuid());
    EXPECT_EQ(file.st_gid, ::getgid());
    EXPECT_EQ(statOf(at("/folder")).st_mode, mode_t{040777});
    EXPECT_EQ(statOf(top).st_mode, mode_t{040777});
    device->putItem("/odd", {MemoryDevice::Item::Kind::Odd, ""});
    EXPECT_EQ(statOf(at("/odd")).st_mode, mode_t{0100755});
    device->putItem("/bad", {MemoryDevice::Item::Kind::Odd, "negative size"});
    struct stat attributes = {};
    EXPECT_EQ(errnoOf(::lstat(at("/bad").c_str(), &attributes)), EIO);
}

TEST_F(FilesOnAVolume, WithoutAnExecutionBitAreNoPrograms) {
    EXPECT_EQ(errnoOf(::access(at("/notes.txt").c_str(), X_OK)), EACCES);
    EXPECT_EQ(errnoOf(::access(at("/notes.txt").c_str(), R_OK | W_OK)), 0);
    EXPECT_EQ(errnoOf(::access(at("/folder").c_str(), X_OK)), 0);
    device->putItem("/odd", {MemoryDevice::Item::Kind::Odd, ""});
    EXPECT_EQ(errnoOf(::access(at("/odd").c_str(), X_OK)), 0);
    EXPECT_EQ(output("find " + top + " -type f -executable"), at("/odd") + "\n");
}

TEST_F(FilesOnAVolume, AnItemThatBecomesAnotherKindIsSeenAsThat) {
    EXPECT_TRUE(S_ISREG(statOf(at("/notes.txt")).st_mode));
    const int file = ::open(at("/notes.txt").c_str(), O_RDONLY | O_CLOEXEC);
    device->putFolder("/notes.txt");
    EXPECT_TRUE(S_ISDIR(statOf(at("/notes.txt")).st_mode));
    device->put("/notes.txt", "a file once more");
    EXPECT_EQ(contentOf(at("/notes.txt")), "a file once more");
    ::close(file);
}

TEST_F(FilesOnAVolume, ExclusiveCreationOfWhatIsThereFails) {
    EXPECT_EQ(errnoOf(::open(at("/notes.txt").c_str(), O_CREAT | O_EXCL | O_WRONLY, 0644)), EEXIST);
    EXPECT_EQ(errnoOf(::mknod(at("/notes.txt").c_str(), S_IFREG | 0644, 0)), EEXIST);
    EXPECT_EQ(errnoOf(::mknod(at("/node").c_str(), S_IFREG | 0644, 0)), 0);
    EXPECT_EQ(device->content("/node"), "");
    EXPECT_EQ(errnoOf(::mknod(at("/fifo").c_str(), S_IFIFO | 0644, 0)), EPERM);
    EXPECT_EQ(device->openFiles(), 0U);
}

TEST_F(FilesOnAVolume, TransfersThatFailSayWhy) {
    const int file = ::open(at("/notes.txt").c_str(), O_RDWR | O_CLOEXEC);
    char byte = 'x';
    device->failNth(Request::Read, 1, kAFCPermissionDenied);  // the kernel reading ahead
    device->failNth(Request::Read, 2, kAFCPermissionDenied);  // the program
    EXPECT_EQ(errnoOf(::pread(file, &byte, 1, 0)), EACCES);
    device->failNth(Request::Write, 1, kAFCNoSpaceLeft);
    EXPECT_EQ(::pwrite(file, &byte, 1, 0), 1);
    EXPECT_EQ(errnoOf(::fsync(file)), ENOSPC);
    device->failNth(Request::Write, 1, kAFCConnectionLost);
    EXPECT_EQ(::pwrite(file, &byte, 1, 0), 1);
    EXPECT_EQ(statOf(file).st_size, 13);  // sends it; whoever wrote hears of the failure
    EXPECT_EQ(errnoOf(::pwrite(file, &byte, 1, 0)), EIO);
    EXPECT_EQ(::fsync(file), 0);
    const std::string large(1U << 20U, 'x');
    device->failNth(Request::Write, 1, kAFCNoSpaceLeft);
    EXPECT_EQ(errnoOf(::pwrite(file, large.data(), large.size(), 0)), ENOSPC);
    const int synchronous = ::open(at("/notes.txt").c_str(), O_WRONLY | O_DSYNC | O_CLOEXEC);
    device->failNth(Request::Write, 1, kAFCNoSpaceLeft);
    EXPECT_EQ(errnoOf(::pwrite(synchronous, &byte, 1, 0)), ENOSPC);
    EXPECT_EQ(::close(synchronous), 0);
    EXPECT_EQ(errnoOf(::fallocate(file, 0, 0, 100)), EOPNOTSUPP);
    EXPECT_EQ(::lseek(file, 0, SEEK_END), 13);
    EXPECT_EQ(::close(file), 0);
    EXPECT_EQ(device->content("/notes.txt"), "hello, volume");
}

TEST_F(FilesOnAVolume, SmallWritesReachTheDeviceAlthoughTheFileStaysOpen) {
    mount();
    const int file = ::open(at("/log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_EQ(::write(file, "a line\n", 7), 7);
    for (int tries = 0; tries < 1000 && device->content("/log") != "a line\n"; ++tries) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(device->content("/log"), "a line\n");
    ::close(file);
}

TEST_F(FilesOnAVolume, ADelegateThatThrowsIsAnIoError) {
    delegate->throws = true;
    struct stat attributes = {};
    EXPECT_EQ(errnoOf(::lstat(at("/notes.txt").c_str(), &attributes)), EIO);
    delegate->throws = false;
    EXPECT_EQ(errnoOf(::lstat(at("/notes.txt").c_str(), &attributes)), 0);
}

TEST_F(FilesOnAVolume, ManyProgramsAtOnceFindOneCallAtATime) {
    EXPECT_EQ(shell("for i in 1 2 3 4 5 6 7 8; do (for j in $(seq 20); do cat " +
                    at("/folder/inner.txt") + " > /dev/null || exit 1; echo $j > " + at("/out$i") +
                    " || exit 1; done) & done; wait"),
              0);
    for (int i = 1; i <= 8; ++i) {
        EXPECT_EQ(device->content("/out" + std::to_string(i)), "20\n");
    }
    EXPECT_FALSE(delegate->wasCalledTwiceAtOnce());
    // The kernel sends a release after close has returned.
    for (int tries = 0; tries < 2000 && device->openFiles() != 0; ++tries) {
        std::this_thread::sleep_for(5ms);
    }
    EXPECT_EQ(device->openFiles(), 0U);
}

}  // namespace
}  // namespace quillbox::test
