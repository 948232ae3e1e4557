// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/RequestLoop.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace quillbox::volume {
namespace {

// More than programs will ever wait on one device; each takes a stack and, once it has read a
// write, a buffer of a megabyte.
constexpr std::size_t kThreadLimit = 100;
// Threads that stay when there is nothing to do.
constexpr std::size_t kIdleLimit = 4;

}  // namespace

RequestLoop::Buffer::~Buffer() {
    std::free(buffer_.mem);
}  // the library allocates with malloc

RequestLoop::Buffer::Buffer(Buffer&& other) noexcept
    : buffer_(std::exchange(other.buffer_, fuse_buf{})) {}

// Requests that are done in no time and must never wait behind others.
bool RequestLoop::Buffer::isForReader() const {
    if (buffer_.mem == nullptr || buffer_.size < sizeof(fuse_in_header)) {
        return false;
    }
    fuse_in_header header = {};
    std::memcpy(&header, buffer_.mem, sizeof header);
    return header.opcode == FUSE_INTERRUPT || header.opcode == FUSE_FORGET ||
           header.opcode == FUSE_BATCH_FORGET;
}

RequestLoop::RequestLoop(fuse_session* session)
    : session_(session), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    const int fd = ::fuse_session_fd(session_);
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

RequestLoop::~RequestLoop() {
    if (wake_ >= 0) {
        ::close(wake_);
    }
}

void RequestLoop::stop() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wake_, &one, sizeof one);
}

void RequestLoop::run() {
    std::unique_lock lock(mutex_);
    startThread();
    changed_.wait(lock, [this] { return threads_.empty(); });
    joinFinished(lock);
}

void RequestLoop::joinFinished(std::unique_lock<std::mutex>& lock) {
    std::list<std::thread> finished = std::exchange(finished_, {});
    lock.unlock();
    for (std::thread& thread : finished) {
        thread.join();
    }
    lock.lock();
}

void RequestLoop::startThread() {
    const auto place = threads_.emplace(threads_.end());
    *place = std::thread([this, place] {
        ::pthread_setname_np(::pthread_self(), "quillbox-volume");
        work();
        const std::lock_guard lock(mutex_);
        finished_.splice(finished_.end(), threads_, place);
        changed_.notify_all();
    });
}

// Waits for a request or the order to stop; false for the latter.
bool RequestLoop::isWaitedFor() {
    std::array<pollfd, 2> files = {{{::fuse_session_fd(session_), POLLIN, 0}, {wake_, POLLIN, 0}}};
    while (::poll(files.data(), files.size(), -1) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return files[1].revents == 0;
}

// The next request; false when there will be none any more.
bool RequestLoop::read(Buffer& buffer) {
    while (isWaitedFor() && ::fuse_session_exited(session_) == 0) {
        const int count = ::fuse_session_receive_buf(session_, buffer.get());
        if (count > 0) {
            return true;
        }
        if (count != -EINTR && count != -EAGAIN) {
            return false;
        }
    }
    return false;
}

void RequestLoop::handOver(std::unique_lock<std::mutex>& lock) {
    isRead_ = false;
    const bool hasIdle = idle_ > 0;
    if (!hasIdle && threads_.size() < kThreadLimit) {
        startThread();
    }
    lock.unlock();
    if (hasIdle) {
        wanted_.notify_one();  // without the lock, which it would only wait for
    }
}

void RequestLoop::serve(std::unique_lock<std::mutex>& lock, Buffer& buffer) {
    if (lock.owns_lock()) {
        lock.unlock();
    }
    ::fuse_session_process_buf(session_, buffer.get());
    lock.lock();
}

void RequestLoop::work() {
    Buffer buffer;
    std::unique_lock lock(mutex_);
    while (true) {
        const bool mustRead = !isRead_ && !hasEnded_;
        if (!mustRead && !putBy_.empty()) {
            Buffer request = std::move(putBy_.front());
            putBy_.pop_front();
            serve(lock, request);
            continue;
        }
        if (hasEnded_) {
            return;
        }
        if (!mustRead) {
            if (idle_ >= kIdleLimit) {
                return;
            }
            ++idle_;
            wanted_.wait(lock, [this] { return hasEnded_ || !isRead_ || !putBy_.empty(); });
            --idle_;
            continue;
        }
        isRead_ = true;
        joinFinished(lock);
        lock.unlock();
        const bool hasRequest = read(buffer);
        lock.lock();
        if (!hasRequest) {
            hasEnded_ = true;
            isRead_ = false;
            changed_.notify_all();
            wanted_.notify_all();
            return;
        }
        if (buffer.isForReader()) {
            serve(lock, buffer);
            isRead_ = false;
            continue;
        }
        if (idle_ == 0 && threads_.size() >= kThreadLimit) {
            Buffer another = std::move(buffer);
            putBy_.push_back(std::move(another));
            isRead_ = false;
            continue;
        }
        handOver(lock);
        serve(lock, buffer);
    }
}

}  // namespace quillbox::volume
