// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#define FUSE_USE_VERSION 312

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <fuse_lowlevel.h>
#include <list>
#include <mutex>
#include <thread>

namespace quillbox::volume {

/// Reads a session's requests and has them answered on as many threads as it takes.
///
/// One thread reads at a time; with a request in hand it leaves the reading to another and answers.
/// When all threads are busy (a stalled device), the last one goes on reading and puts requests by,
/// so that the kernel is always heard when it takes one back or forgets an item.
/// The library has a loop of its own, but that one ends only with the kernel's leave.
class RequestLoop {
public:
    explicit RequestLoop(fuse_session* session);
    ~RequestLoop();
    RequestLoop(const RequestLoop&) = delete;
    RequestLoop& operator=(const RequestLoop&) = delete;

    /// Serves until the kernel has ended the connection (unmounted and all closed) or `stop`, and
    /// every request has been answered.
    void run();
    /// Ends the loop without the kernel's leave: no further request is read. Any thread.
    void stop();

private:
    class Buffer {
    public:
        Buffer() = default;
        ~Buffer();
        Buffer(Buffer&& other) noexcept;
        Buffer& operator=(Buffer&&) = delete;

        fuse_buf* get() { return &buffer_; }

        bool isForReader() const;

    private:
        fuse_buf buffer_ = {};
    };

    void work();
    void serve(std::unique_lock<std::mutex>& lock, Buffer& buffer);
    bool read(Buffer& buffer);
    bool isWaitedFor();
    void startThread();
    void handOver(std::unique_lock<std::mutex>& lock);
    void joinFinished(std::unique_lock<std::mutex>& lock);

    fuse_session* const session_;
    const int wake_;  ///< readable once the loop is to stop
    std::mutex mutex_;
    std::condition_variable changed_;
    std::condition_variable wanted_;  ///< an idle thread is: to read, or at the end
    std::list<std::thread> threads_;
    std::list<std::thread> finished_;
    std::deque<Buffer> putBy_;
    std::size_t idle_ = 0;
    bool isRead_ = false;
    bool hasEnded_ = false;
};

}  // namespace quillbox::volume
