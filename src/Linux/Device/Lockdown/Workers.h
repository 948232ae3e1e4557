// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quillbox::device {

/// Threads for work that waits on devices. A job never waits behind another: where all threads are
/// busy, one is added, so that a device which stalls holds up nobody else. Threads that are idle
/// for long end. Any thread.
class Workers {
public:
    using Job = std::function<void()>;

    Workers();
    /// As `stop` with no wait.
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// Runs a job soon. Dropped after `stop`.
    void post(Job job);
    /// Runs a job after a pause.
    void postAfter(std::chrono::milliseconds pause, Job job);

    /// No job begins any more. Waits until those that run have ended, at most this long; returns
    /// whether they have. A thread that is stuck inside a library is left behind; the process ends
    /// with its status then, but without the cleaning up of libraries, which that thread may be in.
    bool stop(std::chrono::milliseconds limit);

private:
    struct State;

    static void runJobs(const std::shared_ptr<State>& state);
    static void runTimer(const std::shared_ptr<State>& state);
    static void begin(const std::shared_ptr<State>& state, Job job);

    std::shared_ptr<State> state_;
    std::thread timer_;
};

}  // namespace quillbox::device
