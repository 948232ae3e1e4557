// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Caretaker.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace quillbox::volume {

Caretaker::Caretaker(std::function<void()> whenMountsChange)
    : whenMountsChange_(std::move(whenMountsChange)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      mounts_(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)),
      thread_([this] { run(); }) {}

Caretaker::~Caretaker() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    wake();
    thread_.join();
    ::close(wake_);
    ::close(mounts_);
}

void Caretaker::wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wake_, &one, sizeof one);
}

void Caretaker::at(Clock::time_point time, std::function<void()> work) {
    {
        const std::lock_guard lock(mutex_);
        work_.emplace(time, std::move(work));
    }
    wake();
}

int Caretaker::millisecondsToNext() {
    const std::lock_guard lock(mutex_);
    if (work_.empty()) {
        return -1;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(work_.begin()->first - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void Caretaker::runDue() {
    std::unique_lock lock(mutex_);
    while (!isEnding_ && !work_.empty() && work_.begin()->first <= Clock::now()) {
        const auto work = std::move(work_.begin()->second);
        work_.erase(work_.begin());
        lock.unlock();
        work();
        lock.lock();
    }
}

void Caretaker::run() {
    ::pthread_setname_np(::pthread_self(), "quillbox-care");
    while (true) {
        std::array<pollfd, 2> files = {{{wake_, POLLIN, 0}, {mounts_, POLLPRI, 0}}};
        const int ready = ::poll(files.data(), files.size(), millisecondsToNext());
        {
            const std::lock_guard lock(mutex_);
            if (isEnding_) {
                return;
            }
        }
        if (ready > 0 && files[0].revents != 0) {
            std::uint64_t count = 0;
            [[maybe_unused]] const ssize_t drained = ::read(wake_, &count, sizeof count);
        }
        if (ready > 0 && files[1].revents != 0) {
            whenMountsChange_();
        }
        runDue();
    }
}

}  // namespace quillbox::volume
