// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace quillbox::simulator {

/// Threads that come and go: one for each client of a socket and one for each open service. A
/// thread that has ended is joined when the next one starts, all others at the end. Any thread may
/// spawn.
class TaskGroup {
public:
    TaskGroup() = default;
    TaskGroup(const TaskGroup&) = delete;
    TaskGroup& operator=(const TaskGroup&) = delete;

    ~TaskGroup() { joinAll(); }

    /// Runs `work` on a thread of its own. `work` must end by itself once what it serves is closed.
    void spawn(std::function<void()> work);

    /// Waits until every task has ended, those that are spawned meanwhile included. Never from a
    /// task.
    void joinAll();

private:
    struct Task {
        std::thread thread;
        bool finished = false;
    };

    void reap();

    std::mutex mutex_;
    std::list<Task> tasks_;
};

}  // namespace quillbox::simulator
