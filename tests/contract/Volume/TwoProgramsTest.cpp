// SPDX-License-Identifier: GPL-3.0-or-later
// What one program sees of a file that another works on at the same time.
#include "MountedVolume.h"

#include <atomic>
#include <fcntl.h>
#include <functional>
#include <set>
#include <thread>

namespace quillbox::test {
namespace {

class TwoPrograms : public MountedVolume {
protected:
    void SetUp() override {
        device->put("/file", "first");
        mount();
    }

    void write(const std::string& path, const std::string& text) {
        std::ofstream(at(path)) << text;
    }

    /// The errno numbers that one program gets while another does something over and over.
    static std::set<int> errorsWhile(const std::function<void()>& other,
                                     const std::function<int()>& one) {
        std::atomic<bool> isOver = false;
        std::thread thread([&] {
            while (!isOver) {
                other();
            }
        });
        std::set<int> errors;
        for (int times = 0; times < 400; ++times) {
            errors.insert(one());
        }
        isOver = true;
        thread.join();
        return errors;
    }

    int openError(const std::string& path, int flags) {
        const int file = ::open(at(path).c_str(), flags | O_CLOEXEC, 0644);
        const int error = errnoOf(file);
        ::close(file);
        return error;
    }
};

TEST_F(TwoPrograms, AFileThatIsReplacedIsThereAllTheTime) {
    const auto replace = [this] {
        write("/new", "next");
        EXPECT_EQ(errnoOf(::rename(at("/new").c_str(), at("/file").c_str())), 0);
    };
    for (const int flags : {O_RDONLY, O_RDWR | O_CREAT}) {
        const auto errors = errorsWhile(replace, [&] { return openError("/file", flags); });
        EXPECT_EQ(errors.count(ENOENT), 0U) << flags;
        EXPECT_EQ(errors.count(0), 1U) << flags;
    }
}

TEST_F(TwoPrograms, ALinkThatIsSwitchedIsThereAllTheTime) {
    device->put("/other", "second");
    EXPECT_EQ(::symlink("file", at("/link").c_str()), 0);
    bool isOther = false;
    const auto change = [&] {
        isOther = !isOther;
        EXPECT_EQ(errnoOf(::symlink(isOther ? "other" : "file", at("/next").c_str())), 0);
        EXPECT_EQ(errnoOf(::rename(at("/next").c_str(), at("/link").c_str())), 0);
    };
    const auto errors = errorsWhile(change, [&] { return openError("/link", O_RDONLY); });
    EXPECT_EQ(errors.count(ENOENT), 0U);
    EXPECT_EQ(errors.count(0), 1U);
}

TEST_F(TwoPrograms, ASyncOfAFileIsForAllThatWasWrittenToIt) {
    const int writer = ::open(at("/file").c_str(), O_WRONLY | O_CLOEXEC);
    const int other = ::open(at("/file").c_str(), O_RDWR | O_CLOEXEC);
    const int reader = ::open(at("/file").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::pwrite(writer, "F", 1, 0), 1);
    EXPECT_EQ(device->content("/file"), "first");
    EXPECT_EQ(::fsync(other), 0);
    EXPECT_EQ(device->content("/file"), "First");
    EXPECT_EQ(::pwrite(writer, "I", 1, 1), 1);
    EXPECT_EQ(::fdatasync(reader), 0);
    EXPECT_EQ(device->content("/file"), "FIrst");

    device->failNth(Request::Write, 1, kAFCNoSpaceLeft);
    EXPECT_EQ(::pwrite(writer, "x", 1, 0), 1);
    EXPECT_EQ(errnoOf(::fsync(other)), ENOSPC);
    EXPECT_EQ(::fsync(other), 0) << "told once";
    EXPECT_EQ(errnoOf(::fsync(reader)), ENOSPC);
    EXPECT_EQ(errnoOf(::pwrite(writer, "x", 1, 0)), ENOSPC) << "and to whoever wrote";

    device->failNth(Request::Write, 1, kAFCNoSpaceLeft);
    EXPECT_EQ(::pwrite(writer, "x", 1, 0), 1);
    EXPECT_EQ(errnoOf(::fsync(other)), ENOSPC);
    EXPECT_EQ(errnoOf(::close(writer)), ENOSPC);
    EXPECT_EQ(::fsync(other), 0);
    ::close(other);
    ::close(reader);
    EXPECT_EQ(device->content("/file"), "FIrst");
}

TEST_F(TwoPrograms, WhatIsWrittenByANewNameIsReadByTheOld) {
    const int reader = ::open(at("/file").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::link(at("/file").c_str(), at("/second").c_str()), 0);
    const int writer = ::open(at("/second").c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(::pwrite(writer, "F", 1, 0), 1);
    char bytes[8] = {};
    EXPECT_EQ(::pread(reader, bytes, sizeof bytes, 0), 5);
    EXPECT_EQ(std::string(bytes), "First");
    ::close(writer);
    ::close(reader);
}

}  // namespace
}  // namespace quillbox::test
