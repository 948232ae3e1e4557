// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

namespace quillbox::simulator {

/// What the link (which moves bytes) and the service (which answers) know together about one open
/// connection of a device. Thread-safe.
class Channel {
public:
    explicit Channel(std::string service) : service_{std::move(service)} {}

    /// The service behind the connection, as it is started ("com.apple.afc"), for stalls and
    /// listings.
    [[nodiscard]] const std::string& service() const { return service_; }

    /// Says that the client or the device is gone: whoever waits for anything here gives up.
    void close();

    [[nodiscard]] bool closed() const { return closed_; }

    /// Waits until closed, at most `longest`; true when closed.
    bool waitClosed(std::chrono::milliseconds longest);

    /// Waits until closed, however long that takes.
    void waitClosed();

    /// The link has handed `count` bytes of the client to the service.
    void addDelivered(std::uint64_t count) { delivered_ += count; }

    /// The service has answered everything among the first `consumed` bytes and waits for more.
    /// Only services that count round trips say so.
    void markIdle(std::uint64_t consumed) { idleAt_ = consumed; }

    /// Whether the service has answered all that it was handed: bytes that come in now begin a new
    /// round trip, unless answers are still on their way.
    [[nodiscard]] bool idle() const { return idleAt_ == delivered_; }

private:
    std::string service_;
    std::atomic<bool> closed_ = false;
    std::atomic<std::uint64_t> delivered_ = 0;
    std::atomic<std::uint64_t> idleAt_ = ~std::uint64_t{0};
    std::mutex mutex_;
    std::condition_variable changed_;
};

}  // namespace quillbox::simulator
