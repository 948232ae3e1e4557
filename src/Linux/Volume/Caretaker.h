// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace quillbox::volume {

/// A thread for what must happen whatever the main thread does: work at a given time, and a call
/// whenever the mount table changes.
class Caretaker {
public:
    using Clock = std::chrono::steady_clock;

    /// `whenMountsChange` is called on the caretaker's thread.
    explicit Caretaker(std::function<void()> whenMountsChange);
    /// Drops what is not yet due.
    ~Caretaker();
    Caretaker(const Caretaker&) = delete;
    Caretaker& operator=(const Caretaker&) = delete;

    /// Any thread.
    void at(Clock::time_point time, std::function<void()> work);

private:
    void run();
    void runDue();
    int millisecondsToNext();
    void wake() const;

    const std::function<void()> whenMountsChange_;
    const int wake_;
    const int mounts_;
    std::mutex mutex_;
    std::multimap<Clock::time_point, std::function<void()>> work_;
    bool isEnding_ = false;
    std::thread thread_;
};

}  // namespace quillbox::volume
