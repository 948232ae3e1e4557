// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/LoopLock.h"

#include <condition_variable>
#include <mutex>
#include <vector>

namespace quillbox::host {

namespace {

class LoopLock final : public NSLock {
public:
    LoopLock(RunLoop& loop, Log& log, const void* subject)
        : loop_(loop), log_(log), subject_(subject) {}

    bool lock() override {
        if (loop_.isMainThread()) {
            return lockOnMainThread();
        }
        std::unique_lock guard(mutex_);
        freed_.wait(guard, [this] { return !taken_; });
        taken_ = true;
        return true;
    }

    void unlock() override {
        std::vector<std::shared_ptr<Completion>> waiters;
        {
            const std::lock_guard guard(mutex_);
            if (!taken_) {
                log_.write(LogLevel::Warning, "A lock was unlocked that nobody held.");
                return;
            }
            taken_ = false;
            waiters = mainWaiters_;
        }
        freed_.notify_one();
        for (const auto& each : waiters) {
            loop_.finish(each);
        }
    }

private:
    // Waits may nest on the main thread: all of them are told, and each looks again for itself.
    bool lockOnMainThread() {
        for (;;) {
            auto freed = std::make_shared<Completion>();
            {
                const std::lock_guard guard(mutex_);
                if (!taken_) {
                    taken_ = true;
                    return true;
                }
                mainWaiters_.push_back(freed);
            }
            const bool told = loop_.wait(freed, subject_, "another change of the same device");
            const std::lock_guard guard(mutex_);
            std::erase(mainWaiters_, freed);
            if (!told) {
                return false;
            }
        }
    }

    RunLoop& loop_;
    Log& log_;
    const void* subject_;
    std::mutex mutex_;
    std::condition_variable freed_;
    bool taken_ = false;
    std::vector<std::shared_ptr<Completion>> mainWaiters_;
};

}  // namespace

std::unique_ptr<NSLock> LoopLocks::makeLock(const void* subject) {
    return std::make_unique<LoopLock>(loop_, log_, subject);
}

}  // namespace quillbox::host
