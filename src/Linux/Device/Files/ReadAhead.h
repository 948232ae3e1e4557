// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Files/AfcClient.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>

namespace quillbox::device {

/// Where the device reads and writes next in an open file, and how it is moved there.
struct DevicePosition {
    std::uint64_t handle = 0;            ///< the device's number of the file
    std::optional<std::uint64_t> place;  ///< nothing where that is not known
    bool fixed = true;                   ///< false where every write goes to the end

    /// Puts a seek down, to be sent with the transfer that follows, unless the device is there
    /// already.
    AFCError moveTo(AfcClient& client, std::uint64_t wanted,
                    const std::shared_ptr<AfcOutstanding>& outstanding);
};

/// Reads a file that is read in order ahead of its reader: a bounded window of requests in flight.
/// What was read is given out while it is fresh, and dropped by whoever changes the file. One
/// thread at a time.
///
/// A device may answer less than was asked for although the file goes on: what was asked for behind
/// that is from elsewhere then and never given out, and requests become as small as its answers.
class ReadAhead {
public:
    /// Bytes of one request, and most requests whose data is held or on its way.
    static constexpr std::size_t kChunk = 256U << 10U;
    static constexpr std::size_t kMostChunks = 12;
    /// Data that was asked for longer ago is asked for again.
    static constexpr std::chrono::milliseconds kFresh{500};

    /// Bytes of the first request of a file that is asked for with its opening.
    static constexpr std::size_t kFirst = 64U << 10U;

    /// Data of one request.
    struct Chunk : AfcAnswer {
        std::uint64_t from = 0;
        std::chrono::steady_clock::time_point asked;
        wire::Bytes buffer;

        std::uint64_t end() const { return from + into.size(); }

        /// Whether the answer has come, and all that was asked for with it.
        bool isWhole() const;
    };

    /// A chunk for the beginning of a file that is about to be opened; to be asked for by the
    /// caller, and to be adopted when its number was guessed right.
    static std::shared_ptr<Chunk> firstChunk();
    void adopt(DevicePosition& device, std::shared_ptr<Chunk> first);

    /// Whether a read at `offset` is one that this serves: it goes on where others have been, for
    /// the second time at least, or it is of what was asked for with the opening. Otherwise the
    /// window is dropped.
    bool wants(DevicePosition& device, std::uint64_t offset);
    /// Reads what `wants` was asked for. `moved` is short at the end of the file, and where the
    /// device gave less than it was asked for: a read that goes on there is not served by this.
    AFCError read(AfcClient& client, DevicePosition& device, std::uint64_t offset,
                  std::span<std::byte> into, std::size_t& moved);
    /// Notes a read that was served otherwise, or by this.
    void wasRead(std::uint64_t offset, std::size_t moved);
    /// Lets go of everything. Where the device is then is known no more.
    void drop(DevicePosition& device);

private:
    using Clock = std::chrono::steady_clock;

    bool isFresh(const Chunk& chunk) const;
    Chunk* find(std::uint64_t offset) const;
    std::shared_ptr<Chunk> blank();
    static std::shared_ptr<Chunk> chunkOf(std::size_t size);
    void letGoOf(std::uint64_t before);
    bool followsShort(const Chunk& chunk) const;
    AFCError extend(AfcClient& client, DevicePosition& device, std::uint64_t offset);
    AFCError waitFor(AfcClient& client, DevicePosition& device, Chunk& chunk);

    std::deque<std::shared_ptr<Chunk>> chunks_;  ///< in order, without a gap
    std::shared_ptr<Chunk> spare_;
    std::shared_ptr<AfcOutstanding> seeks_ = std::make_shared<AfcOutstanding>();
    std::optional<std::uint64_t> expected_;  ///< where a reader in order reads next
    bool inOrder_ = false;
    bool sawEnd_ = false;
    std::size_t step_ = kChunk;           ///< bytes of one request
    std::size_t target_ = 2;              ///< chunks ahead of the reader
    std::optional<std::uint64_t> cutAt_;  ///< where an answer ended that was short
    std::size_t cutLength_ = 0;           ///< and its length
    Clock::time_point lastRead_{};
};

}  // namespace quillbox::device
