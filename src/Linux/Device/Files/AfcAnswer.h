// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Linux/Device/Streams/ByteStream.h"
#include "Wire/AfcPacket.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace quillbox::device {

/// Longest answer that is kept in memory: a listing of a very full directory.
inline constexpr std::uint64_t kMaxListing = 256U << 20U;

/// Where the answer to one request goes. Who asks fills in the first part; the rest is written
/// before `done` is.
struct AfcAnswer {
    wire::AfcOperation expected = wire::AfcOperation::Status;
    std::span<std::byte> into;  ///< data straight into a buffer
    bool collects = false;      ///< or all of it into `collected`

    wire::Bytes collected;
    std::size_t moved = 0;   ///< bytes that came into the buffer
    std::uint64_t word = 0;  ///< a status, a handle
    AFCError error = kAFCConnectionLost;
    std::atomic<bool> done{false};
};

/// What became of requests of one file whose statuses nobody waits for one by one. Guarded by the
/// client that they were put to.
struct AfcOutstanding {
    std::size_t requests = 0;                 ///< that are not answered yet
    std::size_t bytes = 0;                    ///< of their data
    AFCError firstFailure = kAFCSuccess;      ///< since it was last asked for
    wire::AfcOperation failedOperation = {};  ///< what failed first
};

/// A request that has been sent and not been answered. With neither `answer` nor `outstanding`
/// nobody wants to know.
struct AfcInFlight {
    std::uint64_t number = 0;
    wire::AfcOperation operation = wire::AfcOperation::Status;
    AfcAnswer* answer = nullptr;
    std::shared_ptr<AfcAnswer> keep;  ///< holds `answer` where its asker may leave first
    std::shared_ptr<AfcOutstanding> outstanding;
    std::size_t bytes = 0;
};

/// Takes answers apart as their bytes come in. An answer that is malformed, short, oversized or to
/// another request is a failure; its connection is of no more use then.
class AfcAnswerReader {
public:
    enum class Step { Answered, NothingThere, Broken };

    /// Takes in what has arrived for the oldest request, as far as it goes. After Answered the
    /// answer's fields are filled in, `done` not yet.
    Step step(ByteStream& stream, const AfcInFlight& oldest);

    const std::string& reason() const { return reason_; }

    /// Whether anything came in since the last call of this.
    bool tookMoved() { return std::exchange(moved_, false); }

private:
    static constexpr std::size_t kInput = 32U << 10U;
    /// A status, a handle or a position is one word; more room than that is only courtesy.
    static constexpr std::size_t kMaxWordAnswer = 256;

    bool fill(ByteStream& stream, std::span<std::byte> target, std::size_t& filled);
    bool begin(const AfcInFlight& oldest);
    bool takeBody(ByteStream& stream, AfcAnswer& answer);
    bool finish(const AfcInFlight& oldest);
    bool broken(std::string reason);

    wire::Bytes input_ = wire::Bytes(kInput);  ///< what came in with the bytes that were waited for
    std::size_t inputAt_ = 0;
    std::size_t inputEnd_ = 0;
    std::array<std::byte, wire::kAfcHeaderSize> head_{};
    std::size_t headFilled_ = 0;
    bool hasHead_ = false;
    bool isData_ = false;
    wire::AfcHeader header_;
    std::uint64_t length_ = 0;
    std::array<std::byte, kMaxWordAnswer> words_{};
    std::size_t bodyFilled_ = 0;
    AfcAnswer unwanted_;  ///< where answers go that nobody waits for
    bool moved_ = false;
    std::string reason_;
};

}  // namespace quillbox::device
