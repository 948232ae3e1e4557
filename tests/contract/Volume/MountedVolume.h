// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Fakes.h"
#include "Linux/Volume/FuseUserFileSystems.h"
#include "MemoryDelegate.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace quillbox::test {

using namespace std::chrono_literals;

inline constexpr AFCConnectionRef kConnection = 7;

/// A folder for volumes that leaves nothing behind, whatever a test did.
class VolumesFolder {
public:
    VolumesFolder() {
        std::string pattern = "/tmp/quillbox-volume-test-XXXXXX";
        path_ = ::mkdtemp(pattern.data());
    }

    ~VolumesFolder() {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(path_, error)) {
            while (::umount2(entry.path().c_str(), MNT_DETACH) == 0) {
            }
        }
        std::filesystem::remove_all(path_, error);
    }

    VolumesFolder(const VolumesFolder&) = delete;
    VolumesFolder& operator=(const VolumesFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Starts this test program as one of the helpers of its `main`.
inline pid_t startSelf(std::vector<std::string> arguments) {
    std::string program = "/proc/self/exe";
    std::vector<char*> words{program.data()};
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    pid_t process = 0;
    EXPECT_EQ(::posix_spawn(&process, program.c_str(), nullptr, nullptr, words.data(), environ), 0);
    return process;
}

/// Tests over a real mount: the kernel, a volume, a delegate and its device in memory.
class MountedVolume : public testing::Test {
protected:
    MountedVolume() {
        fileSystems = std::make_unique<FuseUserFileSystems>(
            loop, notifications, log, [this](const std::weak_ptr<GMUserFileSystemDelegate>&) {
                return hasBacking ? std::make_unique<MemoryBacking>(device, kConnection) : nullptr;
            });
        volume = fileSystems->initWithDelegate(delegate, false);
    }

    ~MountedVolume() override {
        device->unblock();
        volume.reset();
        fileSystems.reset();
        loop.runFor(10ms);
    }

    void mount(const std::vector<std::string>& options = {"volname=Blue Phone", "direct_io",
                                                          "allow_other", "local"}) {
        volume->mountAtPath(top, options);
        ASSERT_TRUE(loop.runUntil([this] {
            return notifications.count(kGMUserFileSystemDidMount) +
                       notifications.count(kGMUserFileSystemMountFailed) >
                   0;
        }));
        ASSERT_EQ(notifications.count(kGMUserFileSystemDidMount), 1U);
    }

    std::string at(const std::string& path) const { return top + path; }

    static std::string contentOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    /// Runs a shell command and gives its exit status.
    static int shell(const std::string& command) {
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// Runs a shell command and gives what it prints.
    static std::string output(const std::string& command) {
        std::string text;
        FILE* pipe = ::popen(command.c_str(), "r");
        for (int character = std::fgetc(pipe); character != EOF; character = std::fgetc(pipe)) {
            text += static_cast<char>(character);
        }
        ::pclose(pipe);
        return text;
    }

    /// The errno number of a system call's result, 0 for a success.
    template <typename Number>
    static int errnoOf(Number result) {
        return result < 0 ? errno : 0;
    }

    static bool exists(const std::string& path) {
        struct stat attributes = {};
        return ::lstat(path.c_str(), &attributes) == 0;
    }

    bool isInMountTable() const {
        return contentOf("/proc/self/mountinfo").find(" " + top + " ") != std::string::npos;
    }

    VolumesFolder folder;
    const std::string top = folder.path() + "/phone";
    FakeRunLoop loop;
    FakeNotificationCenter notifications;
    FakeLog log;
    std::shared_ptr<MemoryDevice> device = std::make_shared<MemoryDevice>();
    std::shared_ptr<MemoryDelegate> delegate = std::make_shared<MemoryDelegate>(device);
    bool hasBacking = true;
    std::unique_ptr<FuseUserFileSystems> fileSystems;
    std::unique_ptr<GMUserFileSystem> volume;
};

}  // namespace quillbox::test
