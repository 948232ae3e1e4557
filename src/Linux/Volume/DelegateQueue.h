// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/Result.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

namespace quillbox::volume {

/// The program behind a request, as far as waiting is concerned.
class Caller {
public:
    virtual ~Caller() = default;

    /// `signalled` is called, from any thread, when the program is signalled while it waits; with
    /// none no more, and none is under way after that. Call without holding a lock that
    /// `signalled` takes.
    virtual void whenSignalled(std::function<void()> signalled) = 0;
    /// Whether the program is being killed: only then does it want no answer any more. A signal
    /// that it handles leaves its calls alone, as on a local disk.
    virtual bool isKilled() const = 0;
};

/// A caller that nothing can interrupt: the volume itself, a release.
class PatientCaller final : public Caller {
public:
    void whenSignalled(std::function<void()>) override {}

    bool isKilled() const override { return false; }
};

/// The way to a delegate: first come, first served, one at a time unless the delegate is
/// thread-safe. Once closed, nobody gets through any more. Any thread.
class DelegateQueue {
public:
    explicit DelegateQueue(bool oneAtATime);

    /// The right to call the delegate, for as long as the value lives.
    class [[nodiscard]] Turn {
    public:
        Turn(Turn&& other) noexcept;
        Turn& operator=(Turn&&) = delete;
        ~Turn();

    private:
        friend class DelegateQueue;

        explicit Turn(DelegateQueue* queue) : queue_(queue) {}

        DelegateQueue* queue_;
    };

    /// Waits for a turn. EIO once the queue is closed, EINTR when the caller is killed first.
    Result<Turn> enter(Caller& caller);

    /// For ever: whoever waits gets EIO at once; a call in flight is left to end.
    void close();
    bool isClosed() const;

    /// Waits until no other thread is inside the delegate; false when the time is up first.
    bool waitUntilIdle(std::chrono::steady_clock::time_point deadline);

private:
    struct Waiting {
        bool isSignalled = false;
    };

    bool mayPass(std::list<Waiting>::const_iterator place) const;
    Result<Turn> wait(std::unique_lock<std::mutex>& lock, Caller& caller);
    void leave();

    const bool oneAtATime_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::list<Waiting> waiting_;
    std::vector<std::thread::id> inside_;
    bool isClosed_ = false;
};

}  // namespace quillbox::volume
