// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace quillbox {

/// Something that happens once and that the main thread may wait for. Shared between the thread
/// that waits and the one that finishes it.
class Completion {
public:
    bool isFinished() const { return finished_.load(std::memory_order_acquire); }

private:
    friend class RunLoop;
    std::atomic<bool> finished_{false};
};

/// The main thread's loop: work that belongs on the main thread is posted here, and long waits of
/// the main thread are spent here.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    virtual bool isMainThread() const = 0;

    /// Runs a task on the main thread, after all that were posted before. Any thread. Not served
    /// within a long wait: a device message never interrupts the work on another.
    virtual void post(std::function<void()> task) = 0;

    /// A long wait, main thread only: returns true once `completion` is finished, false when the
    /// wait was ended first, by quitting, a signal, or `endWaits` with its subject. Meanwhile
    /// repaints, timers and signals are served, posted tasks are not. `subject` is what the wait is
    /// for (a device), `what` a few words for a person ("opening Blue Phone"). After a false the
    /// completion may still finish later: whatever it fills must outlive the wait.
    virtual bool wait(const std::shared_ptr<Completion>& completion, const void* subject,
                      const std::string& what) = 0;
    /// Ends every present wait with this subject. Any thread.
    virtual void endWaits(const void* subject) = 0;

    /// Marks a completion as finished and wakes the main thread. Any thread.
    void finish(const std::shared_ptr<Completion>& completion) {
        completion->finished_.store(true, std::memory_order_release);
        wake();
    }

protected:
    /// Makes a waiting main thread look again. Any thread.
    virtual void wake() = 0;
};

}  // namespace quillbox
