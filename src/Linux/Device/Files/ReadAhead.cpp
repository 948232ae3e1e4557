// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/ReadAhead.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace quillbox::device {

namespace {

constexpr std::chrono::milliseconds kPause{250};
/// Requests do not become smaller than this.
constexpr std::size_t kLeastStep = 4U << 10U;

}  // namespace

AFCError DevicePosition::moveTo(AfcClient& client, std::uint64_t wanted,
                                const std::shared_ptr<AfcOutstanding>& outstanding) {
    if (fixed && place == wanted) {
        return kAFCSuccess;
    }
    place = wanted;
    return client.putBehind(wire::AfcOperation::FileSeek,
                            words(handle, static_cast<std::uint64_t>(wire::AfcWhence::Set), wanted),
                            outstanding);
}

bool ReadAhead::isFresh(const Chunk& chunk) const {
    const auto now = Clock::now();
    if (now - chunk.asked <= kFresh) {
        return true;
    }
    // On a slow link the data that a busy reader waits for is just coming in.
    return !chunk.done.load(std::memory_order_acquire) && now - lastRead_ <= kPause;
}

bool ReadAhead::Chunk::isWhole() const {
    return done.load(std::memory_order_acquire) && error == kAFCSuccess && moved == into.size();
}

ReadAhead::Chunk* ReadAhead::find(std::uint64_t offset) const {
    for (const auto& chunk : chunks_) {
        if (offset >= chunk->from && offset < chunk->end()) {
            return chunk.get();
        }
    }
    return nullptr;
}

std::shared_ptr<ReadAhead::Chunk> ReadAhead::chunkOf(std::size_t size) {
    auto chunk = std::make_shared<Chunk>();
    chunk->buffer.resize(size);
    chunk->into = chunk->buffer;
    chunk->expected = wire::AfcOperation::Data;
    return chunk;
}

std::shared_ptr<ReadAhead::Chunk> ReadAhead::firstChunk() {
    auto chunk = chunkOf(kFirst);
    chunk->asked = Clock::now();
    return chunk;
}

void ReadAhead::adopt(DevicePosition& device, std::shared_ptr<Chunk> first) {
    device.place = first->end();
    chunks_.push_back(std::move(first));
}

bool ReadAhead::wants(DevicePosition& device, std::uint64_t offset) {
    if (const Chunk* chunk = find(offset)) {
        const bool isDone = chunk->done.load(std::memory_order_acquire);
        if (isDone && chunk->error == kAFCSuccess && offset >= chunk->from + chunk->moved) {
            // The end of the file, or of what the device gives at once: it says so itself.
            cutAt_ = offset;
            cutLength_ = chunk->moved;
            drop(device);
            inOrder_ = expected_ == offset;
            return false;
        }
        if (isFresh(*chunk)) {
            inOrder_ = inOrder_ || expected_ == offset;
            return true;
        }
        drop(device);
        target_ = std::max<std::size_t>(2, target_ / 2);
        inOrder_ = inOrder_ || expected_ == offset;
        return inOrder_;
    }
    const bool goesOn = expected_ == offset;
    if (!goesOn || sawEnd_) {
        drop(device);
    }
    if (!goesOn) {
        target_ = 2;
    }
    inOrder_ = goesOn;
    return goesOn;
}

void ReadAhead::wasRead(std::uint64_t offset, std::size_t moved) {
    // Requests that were turned round do not turn the reader round.
    if (!expected_ || offset + moved > *expected_ || !inOrder_) {
        expected_ = offset + moved;
    }
    if (std::exchange(cutAt_, std::nullopt) == offset && moved > 0) {
        step_ = std::clamp(cutLength_, kLeastStep, step_);
    }
    lastRead_ = Clock::now();
}

void ReadAhead::drop(DevicePosition& device) {
    if (!chunks_.empty()) {
        // The last one may have been short.
        device.place.reset();
        // Answers that are still on their way find their place: they own it by then.
        chunks_.clear();
        seeks_ = std::make_shared<AfcOutstanding>();
    }
    sawEnd_ = false;
}

std::shared_ptr<ReadAhead::Chunk> ReadAhead::blank() {
    auto chunk = spare_ && spare_.use_count() == 1 ? std::move(spare_) : chunkOf(kChunk);
    chunk->into = std::span{chunk->buffer}.first(step_);
    return chunk;
}

void ReadAhead::letGoOf(std::uint64_t before) {
    // The kernel's own reading ahead may turn two requests round: what was just passed is kept.
    // One that was passed over unread still says whether those behind it are in their place.
    while (chunks_.size() > 1 && chunks_.front()->end() + step_ <= before &&
           chunks_.front()->isWhole()) {
        if (chunks_.front()->buffer.size() == kChunk) {
            spare_ = std::move(chunks_.front());
        }
        chunks_.pop_front();
    }
}

AFCError ReadAhead::extend(AfcClient& client, DevicePosition& device, std::uint64_t offset) {
    const std::uint64_t wanted = offset + target_ * step_;
    while (!sawEnd_ && chunks_.size() < kMostChunks + 2 &&
           (chunks_.empty() || chunks_.back()->end() < wanted)) {
        const std::uint64_t from = chunks_.empty() ? offset : chunks_.back()->end();
        if (const AFCError error = device.moveTo(client, from, seeks_); error != kAFCSuccess) {
            return error;
        }
        auto chunk = blank();
        chunk->from = from;
        chunk->asked = Clock::now();
        chunk->moved = 0;
        chunk->error = kAFCConnectionLost;
        chunk->done = false;
        client.askAhead(wire::AfcOperation::FileRead, words(device.handle, std::uint64_t{step_}),
                        chunk);
        device.place = from + step_;
        chunks_.push_back(chunk);
        if (chunk->done.load(std::memory_order_acquire) && chunk->error == kAFCConnectionLost) {
            // Too much is in flight for this one: the device does not move on either.
            device.place.reset();
            break;
        }
    }
    client.sendAhead();
    return kAFCSuccess;
}

/// Whether an answer before this one was not whole: the device then read this one elsewhere.
bool ReadAhead::followsShort(const Chunk& chunk) const {
    return std::any_of(chunks_.begin(), chunks_.end(), [&](const auto& each) {
        return each->from < chunk.from && !each->isWhole();
    });
}

AFCError ReadAhead::waitFor(AfcClient& client, DevicePosition& device, Chunk& chunk) {
    if (!chunk.done.load(std::memory_order_acquire)) {
        // The reader is faster than the link: more in flight keeps that busy.
        target_ = std::min(kMostChunks, target_ * 2);
        const auto it = std::find_if(chunks_.begin(), chunks_.end(),
                                     [&](const auto& each) { return each.get() == &chunk; });
        client.collect(*it);
    }
    // A seek that failed was answered before what it was for.
    AFCError error = client.settle(seeks_, SIZE_MAX);
    if (error == kAFCSuccess) {
        // Answers come in the order of the requests: those before this one are there.
        error = followsShort(chunk) ? AFCError{kAFCConnectionLost} : chunk.error;
    }
    if (error == kAFCEndOfData) {
        chunk.moved = 0;
        error = chunk.error = kAFCSuccess;
    }
    if (error == kAFCSuccess && chunk.moved < chunk.into.size()) {
        sawEnd_ = true;
        device.place.reset();
        // What was asked for behind the end is from elsewhere, should the file have grown.
        std::erase_if(chunks_, [&](const auto& each) { return each->from > chunk.from; });
    }
    if (error != kAFCSuccess && chunk.buffer.size() == kFirst) {
        // It was not the reader's own question: that is asked by itself.
        return kAFCConnectionLost;
    }
    return error;
}

AFCError ReadAhead::read(AfcClient& client, DevicePosition& device, std::uint64_t offset,
                         std::span<std::byte> into, std::size_t& moved) {
    moved = 0;
    letGoOf(offset);
    // What came with the opening may be all that is wanted.
    AFCError error = inOrder_ ? extend(client, device, offset) : AFCError{kAFCSuccess};
    while (error == kAFCSuccess && moved < into.size()) {
        const std::uint64_t at = offset + moved;
        Chunk* chunk = find(at);
        if (chunk == nullptr) {
            if (sawEnd_) {
                break;
            }
            letGoOf(at);
            error = extend(client, device, at);
            if (error == kAFCSuccess && find(at) == nullptr) {
                error = kAFCConnectionLost;  // there is no room for it behind what is kept
            }
            continue;
        }
        error = waitFor(client, device, *chunk);
        if (error != kAFCSuccess) {
            break;
        }
        const std::uint64_t inside = at - chunk->from;
        if (inside >= chunk->moved) {
            break;  // the end of the file
        }
        const std::size_t count = std::min<std::size_t>(into.size() - moved, chunk->moved - inside);
        std::memcpy(into.data() + moved, chunk->buffer.data() + inside, count);
        moved += count;
    }
    if (error != kAFCSuccess) {
        drop(device);
        device.place.reset();
        expected_.reset();
    }
    return error;
}

}  // namespace quillbox::device
