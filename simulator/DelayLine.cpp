// SPDX-License-Identifier: GPL-3.0-or-later
#include "DelayLine.h"

#include <algorithm>

namespace quillbox::simulator {

Clock::time_point LinkClock::carry(std::size_t bytes, std::uint64_t bandwidth,
                                   Clock::time_point now) {
    if (bandwidth == 0) {
        return now;
    }
    const std::chrono::duration<double> takes{static_cast<double>(bytes) /
                                              static_cast<double>(bandwidth)};
    const std::scoped_lock lock{mutex_};
    freeAt_ = std::max(freeAt_, now) + std::chrono::duration_cast<Clock::duration>(takes);
    return freeAt_;
}

void DelayLine::push(wire::Bytes piece, Clock::time_point due) {
    if (piece.empty()) {
        return;
    }
    if (!pieces_.empty()) {
        due = std::max(due, pieces_.back().due);
    }
    size_ += piece.size();
    pieces_.push_back({std::move(piece), 0, due});
}

std::optional<Clock::time_point> DelayLine::nextDue() const {
    if (pieces_.empty()) {
        return std::nullopt;
    }
    return pieces_.front().due;
}

wire::ByteView DelayLine::ready(Clock::time_point now) const {
    if (pieces_.empty() || pieces_.front().due > now) {
        return {};
    }
    return wire::ByteView{pieces_.front().bytes}.subspan(pieces_.front().offset);
}

void DelayLine::consume(std::size_t count) {
    Piece& front = pieces_.front();
    front.offset += count;
    size_ -= count;
    if (front.offset == front.bytes.size()) {
        pieces_.pop_front();
    }
}

void DelayLine::clear() {
    pieces_.clear();
    size_ = 0;
}

}  // namespace quillbox::simulator
