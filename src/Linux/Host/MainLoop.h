// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/RunLoop.h"
#include "Linux/Host/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quillbox::host {

/// The main thread's loop: posted tasks, timers and the signals that end the program; on a desktop
/// also what that brings (`setSleeper`). The thread that makes it is the main thread. Needs a live
/// `Signals` object to hear signals.
class MainLoop final : public RunLoop {
public:
    using Clock = std::chrono::steady_clock;
    using TimerId = std::uint64_t;
    /// Told on the main thread what a long wait is for once it has lasted 300 ms, and again with
    /// `waiting` false when that wait is over.
    using WaitObserver = std::function<void(const std::string& what, bool waiting)>;
    /// Serves the events of a desktop on the main thread until one of the descriptors can be read
    /// or the deadline is over; where it is over already, serves those that are there.
    using Sleeper =
        std::function<void(const std::vector<int>& descriptors, Clock::time_point deadline)>;

    static constexpr std::chrono::milliseconds kWaitBecomesLong{300};

    MainLoop();
    ~MainLoop() override;
    MainLoop(const MainLoop&) = delete;
    MainLoop& operator=(const MainLoop&) = delete;

    bool isMainThread() const override;
    void post(std::function<void()> task) override;
    /// Runs a task on the main thread, in its turn, but within a long wait at once: for tasks that
    /// look at the program, change nothing and wait for nobody. Any thread.
    void postLook(std::function<void()> task);
    bool wait(const std::shared_ptr<Completion>& completion, const void* subject,
              const std::string& what) override;
    void endWaits(const void* subject) override;

    /// Serves everything until `quit` or an ending signal. Returns the signal's number, 0 after
    /// `quit`. Main thread.
    int run();
    /// Asks the loop to end; every long wait ends with failure, and later ones fail at once. Any
    /// thread.
    void quit();
    bool isQuitting() const;

    /// After the loop's end: long waits may be made again for this time altogether, for what the
    /// end of the program has to ask. A further signal ends them. Main thread.
    void allowWaits(std::chrono::milliseconds altogether);

    /// Calls `action` on the main thread after `delay`, once, within long waits too. Main thread.
    TimerId addTimer(std::chrono::milliseconds delay, std::function<void()> action);
    /// Harmless for a timer that is over. Main thread.
    void cancelTimer(TimerId timer);

    /// One observer; set before the loop runs. Main thread.
    void setWaitObserver(WaitObserver observer) { waitObserver_ = std::move(observer); }

    /// How the loop spends its idle time, within long waits too; an empty one: asleep. Main thread.
    void setSleeper(Sleeper sleeper) { sleeper_ = std::move(sleeper); }

    /// Whether a long wait is being served. Main thread.
    bool isWaiting() const { return waitDepth_ > 0; }

protected:
    void wake() override;

private:
    struct Wait {
        const void* subject = nullptr;
        bool ended = false;
    };

    struct Timer {
        TimerId id = 0;
        std::function<void()> action;
    };

    struct Task {
        std::function<void()> run;
        bool isLook = false;
    };

    void put(Task task);
    void sleepUntil(Clock::time_point deadline);
    void readSignals();
    bool runDueTimer();
    bool runNextTask(bool isLooksOnly = false);
    Clock::time_point nextTimer() const;
    bool mustEnd(const Wait& wait) const;
    bool serveWait(const Completion& completion, const Wait& wait, const std::string& what);

    const std::thread::id mainThread_;
    FileDescriptor wakeReader_, wakeWriter_;
    FileDescriptor signalReader_, signalWriter_;

    mutable std::mutex mutex_;  ///< guards the four below
    std::deque<Task> tasks_;
    std::vector<Wait*> waits_;
    bool quitting_ = false;
    Clock::time_point waitsAllowedUntil_;

    int endingSignal_ = 0;  ///< main thread, as all below
    TimerId lastTimer_ = 0;
    std::multimap<Clock::time_point, Timer> timers_;
    WaitObserver waitObserver_;
    Sleeper sleeper_;
    int waitDepth_ = 0;
};

}  // namespace quillbox::host
