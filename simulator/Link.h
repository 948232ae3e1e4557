// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Channel.h"
#include "DelayLine.h"
#include "UniqueFd.h"

#include <array>
#include <atomic>
#include <memory>

namespace quillbox::simulator {

/// How the link between computer and device behaves; one for each device, shared by its
/// connections. Thread-safe. Changes hold for bytes that come in afterwards; who changes them wakes
/// the links.
class LinkConditions {
public:
    /// Reasons for which nothing moves.
    enum Hold : unsigned { HeldByDevice = 1, HeldByMultiplexer = 2 };

    /// Time that each direction adds: half of a round trip.
    std::atomic<std::int64_t> delayNanoseconds = 0;
    /// Bytes a second in each direction, 0 without limit.
    std::atomic<std::uint64_t> bandwidth = 0;

    void hold(Hold reason, bool on);

    [[nodiscard]] bool held() const { return holds_ != 0; }

    /// When `count` bytes that come in now are at the other side. `towardsDevice` picks the
    /// direction.
    [[nodiscard]] Clock::time_point due(bool towardsDevice, std::size_t count,
                                        Clock::time_point now);

    /// Bytes that may be on their way in one direction: enough to keep the link full.
    [[nodiscard]] std::size_t capacity() const;

private:
    std::atomic<unsigned> holds_ = 0;
    std::array<LinkClock, 2> clocks_;
};

/// One connection through the link: moves bytes between the client's socket and the service's, each
/// direction through a delay line of its own.
class Link {
public:
    /// Takes both sockets. The channel is told each time the client speaks after it has got all its
    /// answers.
    Link(UniqueFd client, UniqueFd service, std::shared_ptr<LinkConditions> conditions,
         std::shared_ptr<Channel> channel);

    /// Moves bytes until one side has ended or end() was called. The calling thread is the link's.
    void run();

    /// Ends the connection: what has arrived from the device is delivered, then the client sees the
    /// end. Returns at once; any thread.
    void end();

    /// Looks at the conditions anew; any thread.
    void wake();

    /// Waits until the client's socket is closed, at most `longest`; any thread.
    void waitEnded(std::chrono::milliseconds longest);

    [[nodiscard]] const Channel& channel() const { return *channel_; }

private:
    struct Direction {
        bool towardsDevice = false;
        int source = -1;
        int sink = -1;
        DelayLine line;
        bool sourceEnded = false;
        bool sinkBlocked = false;
        bool done = false;
    };

    void pull(Direction& direction);
    void push(Direction& direction, bool ignoreTime);
    void flushAtEnd();
    void wait();
    [[nodiscard]] bool startsRoundTrip() const;

    UniqueFd client_;
    UniqueFd service_;
    UniqueFd wakeup_;
    std::shared_ptr<LinkConditions> conditions_;
    std::shared_ptr<Channel> channel_;
    /// What one receive fills, kept so that a small request does not pay for the room of a large
    /// one.
    wire::Bytes received_;
    Direction up_;
    Direction down_;
    std::atomic<bool> ending_ = false;
    bool clientGone_ = false;
    Channel ended_{""};
};

}  // namespace quillbox::simulator
