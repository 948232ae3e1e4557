// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>

namespace quillbox::simulator {

using Clock = std::chrono::steady_clock;

/// When one direction of a link has carried what was put on it. All connections of a device share
/// the link, so that together they never exceed its bandwidth. Thread-safe.
class LinkClock {
public:
    /// Takes `bytes` that arrive `now` and says when the last of them has left, at `bandwidth`
    /// bytes a second; 0 is without limit.
    [[nodiscard]] Clock::time_point carry(std::size_t bytes, std::uint64_t bandwidth,
                                          Clock::time_point now);

private:
    std::mutex mutex_;
    Clock::time_point freeAt_{};
};

/// Bytes on their way through one direction of a link: each piece comes out when it is due, in
/// order. Pieces overlap: a piece put in while others travel is not delayed by more than its own
/// turn. Used by one thread.
class DelayLine {
public:
    /// Puts a piece in; `due` is never earlier than that of the piece before it.
    void push(wire::Bytes piece, Clock::time_point due);

    /// Bytes that are inside.
    [[nodiscard]] std::size_t size() const { return size_; }

    [[nodiscard]] bool empty() const { return pieces_.empty(); }

    /// When the next piece comes out.
    [[nodiscard]] std::optional<Clock::time_point> nextDue() const;

    /// What is due at `now`, as far as it lies in one piece; empty when nothing is.
    [[nodiscard]] wire::ByteView ready(Clock::time_point now) const;

    /// Takes `count` bytes of what ready() showed.
    void consume(std::size_t count);

    /// Forgets everything that is inside.
    void clear();

private:
    struct Piece {
        wire::Bytes bytes;
        std::size_t offset = 0;
        Clock::time_point due;
    };

    std::deque<Piece> pieces_;
    std::size_t size_ = 0;
};

}  // namespace quillbox::simulator
