// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/Workers.h"

#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <list>
#include <utility>

namespace quillbox::device {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kIdle{10};

void join(std::list<std::thread>& threads) {
    for (std::thread& thread : threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

/// A thread that is still inside a library must not meet what that library cleans up at the
/// process's end: what was registered to happen then before this is left out.
void leaveOutTheCleanUp() {
    static std::once_flag once;
    std::call_once(once, [] {
        ::on_exit(
            [](int status, void*) {
                std::fflush(nullptr);
                std::_Exit(status);
            },
            nullptr);
    });
}

}  // namespace

/// Shared with the threads: a thread that had to be left behind still has it.
struct Workers::State {
    std::mutex mutex;
    std::condition_variable jobCame;
    std::condition_variable timerCame;
    std::condition_variable threadEnded;
    std::deque<Job> jobs;
    std::multimap<Clock::time_point, Job> later;
    std::size_t idle = 0;
    std::list<std::thread> threads;
    std::list<std::thread> finished;  ///< those that need nothing any more but to be joined
    bool stopping = false;
};

Workers::Workers() : state_{std::make_shared<State>()} {
    timer_ = std::thread{[state = state_] {
        pthread_setname_np(pthread_self(), "device timer");
        runTimer(state);
    }};
}

Workers::~Workers() {
    stop(std::chrono::milliseconds{0});
}

void Workers::begin(const std::shared_ptr<State>& state, Job job) {
    std::unique_lock lock{state->mutex};
    if (state->stopping) {
        return;
    }
    state->jobs.push_back(std::move(job));
    if (state->idle >= state->jobs.size()) {
        state->jobCame.notify_one();
        return;
    }
    std::list<std::thread> finished = std::exchange(state->finished, {});
    const auto place = state->threads.emplace(state->threads.end());
    *place = std::thread{[state, place] {
        pthread_setname_np(pthread_self(), "device worker");
        runJobs(state);
        // Not a mere count: only a thread that was joined has also given back what libraries keep
        // for it.
        const std::lock_guard last{state->mutex};
        state->finished.splice(state->finished.end(), state->threads, place);
        state->threadEnded.notify_all();
    }};
    lock.unlock();
    join(finished);
}

void Workers::runJobs(const std::shared_ptr<State>& state) {
    std::unique_lock lock{state->mutex};
    while (true) {
        if (!state->jobs.empty() && !state->stopping) {
            Job job = std::move(state->jobs.front());
            state->jobs.pop_front();
            lock.unlock();
            job();
            job = nullptr;
            lock.lock();
            continue;
        }
        if (state->stopping) {
            break;
        }
        ++state->idle;
        const bool came = state->jobCame.wait_for(
            lock, kIdle, [&] { return state->stopping || !state->jobs.empty(); });
        --state->idle;
        if (!came) {
            break;
        }
    }
}

void Workers::runTimer(const std::shared_ptr<State>& state) {
    std::unique_lock lock{state->mutex};
    while (!state->stopping) {
        if (state->later.empty()) {
            state->timerCame.wait(lock);
            continue;
        }
        const auto first = state->later.begin();
        if (first->first > Clock::now()) {
            const auto until = first->first;
            state->timerCame.wait_until(lock, until);
            continue;
        }
        Job job = std::move(first->second);
        state->later.erase(first);
        lock.unlock();
        begin(state, std::move(job));
        lock.lock();
    }
}

void Workers::post(Job job) {
    begin(state_, std::move(job));
}

void Workers::postAfter(std::chrono::milliseconds pause, Job job) {
    const std::lock_guard lock{state_->mutex};
    if (!state_->stopping) {
        state_->later.emplace(Clock::now() + pause, std::move(job));
        state_->timerCame.notify_one();
    }
}

bool Workers::stop(std::chrono::milliseconds limit) {
    std::deque<Job> dropped;
    std::multimap<Clock::time_point, Job> droppedLater;
    std::unique_lock lock{state_->mutex};
    state_->stopping = true;
    // Their destructors run outside the lock.
    dropped.swap(state_->jobs);
    droppedLater.swap(state_->later);
    state_->jobCame.notify_all();
    state_->timerCame.notify_all();
    const bool ended =
        state_->threadEnded.wait_for(lock, limit, [this] { return state_->threads.empty(); });
    std::list<std::thread> finished = std::exchange(state_->finished, {});
    if (!ended) {
        leaveOutTheCleanUp();
    }
    // One that is stuck inside a library cannot be joined.
    for (std::thread& stuck : state_->threads) {
        if (stuck.joinable()) {
            stuck.detach();
        }
    }
    lock.unlock();
    join(finished);
    if (timer_.joinable()) {
        timer_.join();
    }
    return ended;
}

}  // namespace quillbox::device
