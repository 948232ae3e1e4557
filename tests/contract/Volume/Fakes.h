// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/NotificationCenter.h"
#include "Core/Platform/RunLoop.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quillbox::test {

/// A main loop that turns only when a test lets it.
class FakeRunLoop final : public RunLoop {
public:
    bool isMainThread() const override { return std::this_thread::get_id() == main_; }

    void post(std::function<void()> task) override {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        posted_.notify_all();
    }

    bool wait(const std::shared_ptr<Completion>&, const void*, const std::string&) override {
        return false;
    }

    void endWaits(const void*) override {}

    /// Runs posted tasks until the condition holds; false when the time is up first.
    bool runUntil(const std::function<bool()>& isDone,
                  std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!isDone()) {
            std::function<void()> task;
            {
                std::unique_lock lock(mutex_);
                posted_.wait_for(lock, std::chrono::milliseconds(5),
                                 [this] { return !tasks_.empty(); });
                if (!tasks_.empty()) {
                    task = std::move(tasks_.front());
                    tasks_.pop_front();
                }
            }
            if (task) {
                task();
            } else if (std::chrono::steady_clock::now() > deadline) {
                return isDone();
            }
        }
        return true;
    }

    void runFor(std::chrono::milliseconds time) {
        runUntil([] { return false; }, time);
    }

protected:
    void wake() override {}

private:
    const std::thread::id main_ = std::this_thread::get_id();
    std::mutex mutex_;
    std::condition_variable posted_;
    std::deque<std::function<void()>> tasks_;
};

class FakeNotificationCenter final : public NotificationCenter {
public:
    void addObserver(const void*, std::string_view, Handler) override {}

    void removeObserver(const void*) override {}

    void post(const Notification& notification) override { posted.push_back(notification); }

    std::size_t count(std::string_view name) const {
        return static_cast<std::size_t>(
            std::count_if(posted.begin(), posted.end(),
                          [&](const Notification& notice) { return notice.name == name; }));
    }

    std::vector<Notification> posted;
};

class FakeLog final : public Log {
public:
    bool isEnabled(LogLevel) const override { return true; }

    void write(LogLevel, std::string_view text) override {
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(text);
    }

    bool has(std::string_view part) const {
        const std::lock_guard lock(mutex_);
        return std::any_of(lines_.begin(), lines_.end(), [&](const std::string& line) {
            return line.find(part) != std::string::npos;
        });
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace quillbox::test
