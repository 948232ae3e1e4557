// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/PlatformLink.h"

#include <mutex>
#include <utility>

namespace quillbox::device {

bool PlatformLink::isMainThread() {
    const std::shared_lock lock{mutex_};
    return runLoop_ != nullptr && runLoop_->isMainThread();
}

void PlatformLink::post(std::function<void()> task) {
    const std::shared_lock lock{mutex_};
    if (runLoop_ != nullptr) {
        runLoop_->post(std::move(task));
    }
}

void PlatformLink::endWaits(const void* subject) {
    const std::shared_lock lock{mutex_};
    if (runLoop_ != nullptr) {
        runLoop_->endWaits(subject);
    }
}

void PlatformLink::finish(const std::shared_ptr<Completion>& completion) {
    const std::shared_lock lock{mutex_};
    if (runLoop_ != nullptr) {
        runLoop_->finish(completion);
    }
}

bool PlatformLink::wait(const std::shared_ptr<Completion>& completion, const void* subject,
                        const std::string& what) {
    RunLoop* runLoop = nullptr;
    {
        const std::shared_lock lock{mutex_};
        runLoop = runLoop_;
    }
    return runLoop != nullptr && runLoop->wait(completion, subject, what);
}

void PlatformLink::close() {
    const std::unique_lock lock{mutex_};
    runLoop_ = nullptr;
    log_ = nullptr;
}

void PlatformLink::write(LogLevel level, std::string_view text) {
    const std::shared_lock lock{mutex_};
    if (log_ != nullptr) {
        log_->write(level, text);
    }
}

}  // namespace quillbox::device
