// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/NotificationCenter.h"
#include "Core/Platform/RunLoop.h"

#include <functional>
#include <shared_mutex>
#include <string>

namespace quillbox::volume {

/// What volumes need of the program around them. A volume's threads may outlive it (a delegate call
/// that never returns while the program quits): after `cut` they reach nobody.
class MainThread {
public:
    MainThread(RunLoop& loop, NotificationCenter& notifications, Log& log)
        : loop_(loop), notifications_(notifications), log_(log) {}

    /// Runs a task on the main thread; after `cut` drops it. Any thread.
    void post(std::function<void()> task) {
        const std::shared_lock lock(mutex_);
        if (!isCut_) {
            loop_.post(std::move(task));
        }
    }

    /// Any thread.
    void log(LogLevel level, const std::string& text) {
        const std::shared_lock lock(mutex_);
        if (!isCut_) {
            log_.write(level, text);
        }
    }

    bool isHere() const { return loop_.isMainThread(); }

    /// Main thread only; nothing after `cut`.
    void notify(const Notification& notification) {
        if (!isCut_) {
            notifications_.post(notification);
        }
    }

    /// Main thread only.
    void cut() {
        const std::unique_lock lock(mutex_);
        isCut_ = true;
    }

private:
    RunLoop& loop_;
    NotificationCenter& notifications_;
    Log& log_;
    std::shared_mutex mutex_;
    bool isCut_ = false;
};

}  // namespace quillbox::volume
