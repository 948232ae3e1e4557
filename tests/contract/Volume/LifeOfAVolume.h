// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "MountedVolume.h"

#include <chrono>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <thread>

namespace quillbox::test {

/// A mounted volume with a few files, and ways to ask it from outside.
class LifeOfAVolume : public MountedVolume {
protected:
    void SetUp() override {
        device->put("/notes.txt", "hello, volume");
        device->putFolder("/folder");
        device->put("/folder/inner.txt", "inside");
    }

    int statErrno(const std::string& path) {
        struct stat attributes = {};
        return errnoOf(::lstat(at(path).c_str(), &attributes));
    }

    /// Waits for something that no main loop is needed for.
    static bool eventually(const std::function<bool()>& isSo,
                           std::chrono::milliseconds limit = 10s) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!isSo()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::sleep_for(2ms);
        }
        return true;
    }

    /// Whether the mount folder is gone (a gated volume is there and answers nothing).
    bool isFree() {
        struct stat attributes = {};
        return errnoOf(::lstat(top.c_str(), &attributes)) == ENOENT;
    }

    std::size_t told() const { return notifications.count(kGMUserFileSystemDidUnmount); }

    /// A program that looks at a path of the volume and ends with the errno number as its status. A
    /// program of its own: a mere fork would share the volume's connection to the kernel.
    pid_t asker(const std::string& path, const std::string& mode = "--look") {
        return startSelf({mode, at(path)});
    }

    static int statusOf(pid_t process) {
        int status = 0;
        ::waitpid(process, &status, 0);
        return status;
    }
};

}  // namespace quillbox::test
