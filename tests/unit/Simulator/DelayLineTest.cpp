// SPDX-License-Identifier: GPL-3.0-or-later
#include "DelayLine.h"

#include <gtest/gtest.h>

namespace quillbox::simulator {
namespace {

using namespace std::chrono_literals;

const Clock::time_point kStart{1h};

wire::Bytes piece(std::string_view text) {
    const wire::ByteView view = wire::asBytes(text);
    return {view.begin(), view.end()};
}

TEST(DelayLine, APieceComesOutWhenItIsDue) {
    DelayLine line;
    line.push(piece("abc"), kStart + 5ms);
    EXPECT_EQ(line.nextDue(), kStart + 5ms);
    EXPECT_TRUE(line.ready(kStart + 4999us).empty());
    EXPECT_EQ(wire::asText(line.ready(kStart + 5ms)), "abc");
}

TEST(DelayLine, PiecesOverlapOnTheirWay) {
    DelayLine line;
    line.push(piece("a"), kStart + 5ms);
    line.push(piece("b"), kStart + 6ms);
    line.consume(1);
    EXPECT_TRUE(line.ready(kStart + 5ms).empty());
    EXPECT_EQ(wire::asText(line.ready(kStart + 6ms)), "b") << "one millisecond later, not five";
}

TEST(DelayLine, PiecesNeverOvertake) {
    DelayLine line;
    line.push(piece("a"), kStart + 5ms);
    line.push(piece("b"), kStart);
    line.consume(1);
    EXPECT_TRUE(line.ready(kStart + 1ms).empty());
    EXPECT_EQ(line.nextDue(), kStart + 5ms);
}

TEST(DelayLine, CanBeTakenInParts) {
    DelayLine line;
    line.push(piece("abcdef"), kStart);
    line.push(wire::Bytes{}, kStart);
    EXPECT_EQ(line.size(), 6U);
    line.consume(2);
    EXPECT_EQ(wire::asText(line.ready(kStart)), "cdef");
    EXPECT_EQ(line.size(), 4U);
    line.consume(4);
    EXPECT_TRUE(line.empty());
    EXPECT_FALSE(line.nextDue());
}

TEST(LinkClock, WithoutALimitNothingTakesTime) {
    LinkClock clock;
    EXPECT_EQ(clock.carry(1'000'000, 0, kStart), kStart);
}

TEST(LinkClock, BytesQueueForTheLink) {
    LinkClock clock;
    EXPECT_EQ(clock.carry(1000, 1'000'000, kStart), kStart + 1ms);
    EXPECT_EQ(clock.carry(1000, 1'000'000, kStart), kStart + 2ms) << "behind the first";
    EXPECT_EQ(clock.carry(1000, 1'000'000, kStart + 10ms), kStart + 11ms)
        << "idle time is not made up for";
}

}  // namespace
}  // namespace quillbox::simulator
