// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace quillbox::volume {

/// Threads for work that may wait and ends by itself. Any thread.
class Helpers {
public:
    /// The work must own what it touches. Dropped after `join` and `abandon`.
    void run(std::function<void()> work);
    /// Waits for all of them, those included that they start meanwhile. Not for a helper itself.
    void join();
    /// Leaves them to themselves, where one never comes back and the process is about to end.
    void abandon();

private:
    struct Helper {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> hasEnded;
    };

    std::list<Helper> takeAll();

    std::mutex mutex_;
    std::list<Helper> helpers_;  ///< that have not been joined
    bool isOver_ = false;
};

}  // namespace quillbox::volume
