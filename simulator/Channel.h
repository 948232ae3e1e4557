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

    /// The link has handed `count` bytes of the service to the client.
    void addForwarded(std::uint64_t count) { forwarded_ += count; }

    /// The service is about to send `count` bytes.
    void addProduced(std::uint64_t count) { produced_ += count; }

    /// With the bytes produced so far the service has answered everything among the first
    /// `consumed` bytes. Only services that count round trips say so.
    void markAnswered(std::uint64_t consumed) { answered_ = consumed; }

    /// Whether the client has got the answers to all that it has sent: what it sends now begins a
    /// new round trip.
    [[nodiscard]] bool idle() const { return answered_ == delivered_ && forwarded_ == produced_; }

    /// The client has begun a new round trip.
    void markSpoken() { spoken_ = true; }

    /// Whether a round trip has begun since this was last asked.
    [[nodiscard]] bool takeSpoken() { return spoken_.exchange(false); }

private:
    std::string service_;
    std::atomic<bool> closed_ = false;
    std::atomic<std::uint64_t> delivered_ = 0;
    std::atomic<std::uint64_t> forwarded_ = 0;
    std::atomic<std::uint64_t> produced_ = 0;
    std::atomic<std::uint64_t> answered_ = ~std::uint64_t{0};
    std::atomic<bool> spoken_ = false;
    std::mutex mutex_;
    std::condition_variable changed_;
};

}  // namespace quillbox::simulator
