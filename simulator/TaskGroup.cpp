// SPDX-License-Identifier: GPL-3.0-or-later
#include "TaskGroup.h"

namespace quillbox::simulator {

void TaskGroup::spawn(std::function<void()> work) {
    reap();
    const std::scoped_lock lock{mutex_};
    tasks_.emplace_back();
    Task& task = tasks_.back();
    task.thread = std::thread{[this, &task, work = std::move(work)] {
        work();
        const std::scoped_lock ended{mutex_};
        task.finished = true;
    }};
}

void TaskGroup::reap() {
    std::list<Task> ended;
    {
        const std::scoped_lock lock{mutex_};
        for (auto task = tasks_.begin(); task != tasks_.end();) {
            const auto next = std::next(task);
            if (task->finished) {
                ended.splice(ended.end(), tasks_, task);
            }
            task = next;
        }
    }
    for (Task& task : ended) {
        task.thread.join();
    }
}

void TaskGroup::joinAll() {
    for (;;) {
        std::thread next;
        std::list<Task> taken;
        {
            const std::scoped_lock lock{mutex_};
            if (tasks_.empty()) {
                return;
            }
            // The node stays alive in `taken`: the running task still marks itself as finished
            // there.
            taken.splice(taken.end(), tasks_, tasks_.begin());
            next = std::move(taken.front().thread);
        }
        next.join();
    }
}

}  // namespace quillbox::simulator
