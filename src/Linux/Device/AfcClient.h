// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Linux/Device/ServiceConnection.h"
#include "Wire/AfcLists.h"
#include "Wire/AfcPacket.h"
#include "Wire/AfcParameters.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace quillbox::device {

/// Longest answer that is kept in memory: a listing of a very full directory.
inline constexpr std::uint64_t kMaxListing = 256U << 20U;
/// Most names of one directory.
inline constexpr std::size_t kMaxNames = 2'000'000;
/// Most bytes moved by one request; longer transfers take several.
inline constexpr std::size_t kMaxTransfer = 4U << 20U;

/// AFC over one connection: requests go out one after the other, each waits for its answer. Any
/// thread. Whatever a device answers, a call ends with success or a failure; an answer that is
/// malformed, short, oversized, to another request, or that does not come in time breaks the
/// connection, and so do all later calls fail at once.
class AfcClient {
public:
    /// `onBroken` is called once, with the reason, when the connection breaks by itself: on the
    /// thread of the call that noticed, with no lock held.
    AfcClient(std::unique_ptr<ServiceConnection> connection,
              std::function<void(const std::string&)> onBroken);

    /// A request that is answered by a status.
    AFCError perform(wire::AfcOperation operation, const wire::AfcParameters& parameters);
    /// A directory's names as the device gives them.
    AFCError readDirectory(const std::string& path, std::vector<std::string>& names);
    /// The keys and values of a request (FileInfo, DeviceInfo).
    AFCError readKeyValues(wire::AfcOperation operation, const wire::AfcParameters& parameters,
                           std::vector<wire::KeyValue>& pairs);
    AFCError openFile(const std::string& path, std::uint64_t mode, std::uint64_t& handle);
    /// Fills `into`, less only at the end of the file; `moved` bytes came.
    AFCError read(std::uint64_t handle, std::span<std::byte> into, std::size_t& moved);
    AFCError write(std::uint64_t handle, wire::ByteView bytes);

    bool isBroken() const { return broken_; }

    /// Whether the other side has not ended the connection, as far as is known without asking.
    bool isAlive() { return !broken_ && breaker_.isOpen(); }

    /// Ends the connection from any thread: the call in flight and all later ones fail.
    void breakNow();

private:
    /// Where the body of an answer goes: a status has none beyond its word.
    struct Answer {
        wire::AfcOperation expected = wire::AfcOperation::Status;
        std::span<std::byte> into;         ///< data straight into a caller's buffer
        wire::Bytes* collected = nullptr;  ///< or all of it here
        std::size_t moved = 0;
        std::uint64_t word = 0;
    };

    AFCError exchange(wire::AfcOperation operation, const wire::AfcParameters& parameters,
                      wire::ByteView data, Answer& answer);
    AFCError exchangeLocked(wire::AfcOperation operation, const wire::AfcParameters& parameters,
                            wire::ByteView data, Answer& answer, std::string& broken);
    AFCError receiveAnswer(std::uint64_t number, Answer& answer, std::string& broken);
    bool receiveBody(std::uint64_t length, Answer& answer, std::string& broken);
    /// For what is found wrong after the answer was taken.
    AFCError breakFor(const std::string& reason);

    std::unique_ptr<ServiceConnection> connection_;
    SocketBreaker& breaker_;
    const std::function<void(const std::string&)> onBroken_;
    std::mutex mutex_;  ///< one request at a time
    std::uint64_t packetNumber_ = 0;
    std::atomic<bool> broken_{false};
};

}  // namespace quillbox::device
