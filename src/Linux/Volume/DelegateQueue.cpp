// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/DelegateQueue.h"

#include <algorithm>
#include <cerrno>

namespace quillbox::volume {
namespace {

// A program that was signalled once may be killed later, and the kernel does not tell that again:
// so it is looked at this often.
constexpr auto kKilledInterval = std::chrono::milliseconds(100);

}  // namespace

DelegateQueue::DelegateQueue(bool oneAtATime) : oneAtATime_(oneAtATime) {}

DelegateQueue::Turn::Turn(Turn&& other) noexcept : queue_(std::exchange(other.queue_, nullptr)) {}

DelegateQueue::Turn::~Turn() {
    if (queue_ != nullptr) {
        queue_->leave();
    }
}

bool DelegateQueue::mayPass(std::list<Waiting>::const_iterator place) const {
    return !oneAtATime_ || (inside_.empty() && place == waiting_.begin());
}

Result<DelegateQueue::Turn> DelegateQueue::enter(Caller& caller) {
    std::unique_lock lock(mutex_);
    if (isClosed_) {
        return Failure{EIO};
    }
    if (oneAtATime_ && (!inside_.empty() || !waiting_.empty())) {
        return wait(lock, caller);
    }
    inside_.push_back(std::this_thread::get_id());
    return Turn(this);
}

Result<DelegateQueue::Turn> DelegateQueue::wait(std::unique_lock<std::mutex>& lock,
                                                Caller& caller) {
    const auto place = waiting_.emplace(waiting_.end());
    lock.unlock();
    caller.whenSignalled([this, place] {
        const std::lock_guard guard(mutex_);
        place->isSignalled = true;
        changed_.notify_all();
    });
    lock.lock();
    bool isKilled = false;
    while (!isClosed_ && !mayPass(place)) {
        if (!place->isSignalled) {
            changed_.wait(lock);
            continue;
        }
        lock.unlock();
        isKilled = caller.isKilled();
        lock.lock();
        if (isKilled) {
            break;
        }
        changed_.wait_for(lock, kKilledInterval);
    }
    const int error = isClosed_ ? EIO : mayPass(place) ? 0 : EINTR;
    if (error == 0) {
        inside_.push_back(std::this_thread::get_id());
    }
    lock.unlock();
    caller.whenSignalled(nullptr);  // nobody touches the place after this
    lock.lock();
    waiting_.erase(place);
    changed_.notify_all();
    if (error != 0) {
        return Failure{error};
    }
    return Turn(this);
}

void DelegateQueue::leave() {
    const std::lock_guard lock(mutex_);
    inside_.erase(std::find(inside_.begin(), inside_.end(), std::this_thread::get_id()));
    changed_.notify_all();
}

void DelegateQueue::close() {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    changed_.notify_all();
}

bool DelegateQueue::isClosed() const {
    const std::lock_guard lock(mutex_);
    return isClosed_;
}

bool DelegateQueue::waitUntilIdle(std::chrono::steady_clock::time_point deadline) {
    const auto self = std::this_thread::get_id();
    std::unique_lock lock(mutex_);
    return changed_.wait_until(lock, deadline, [&] {
        return std::all_of(inside_.begin(), inside_.end(),
                           [&](const std::thread::id& thread) { return thread == self; });
    });
}

}  // namespace quillbox::volume
