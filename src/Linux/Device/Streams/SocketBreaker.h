// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <poll.h>
#include <sys/socket.h>

#include <atomic>
#include <mutex>

namespace quillbox::device {

/// Ends the traffic of a socket that another thread waits on: the thread's wait returns at once.
/// The descriptor stays open until its owner closes it, so its number cannot be taken by another
/// file meanwhile. Any thread.
class SocketBreaker {
public:
    /// From now on `breakNow` acts on this descriptor; at once where it was called before.
    void attach(int descriptor) {
        const std::lock_guard lock{mutex_};
        descriptor_ = descriptor;
        if (broken_) {
            shutdown(descriptor_, SHUT_RDWR);
        }
    }

    /// To be called before the descriptor is closed.
    void detach() {
        const std::lock_guard lock{mutex_};
        descriptor_ = -1;
    }

    void breakNow() {
        const std::lock_guard lock{mutex_};
        broken_ = true;
        if (descriptor_ >= 0) {
            shutdown(descriptor_, SHUT_RDWR);
        }
    }

    bool isBroken() const { return broken_; }

    /// Whether the other side has not ended the connection, as far as is known without asking.
    bool isOpen() {
        const std::lock_guard lock{mutex_};
        pollfd entry{descriptor_, POLLRDHUP, 0};
        return !broken_ && descriptor_ >= 0 && poll(&entry, 1, 0) == 0;
    }

private:
    std::mutex mutex_;
    int descriptor_ = -1;
    std::atomic<bool> broken_{false};
};

}  // namespace quillbox::device
