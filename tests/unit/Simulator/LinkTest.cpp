// SPDX-License-Identifier: GPL-3.0-or-later
#include "Link.h"
#include "UnixSocket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <functional>
#include <thread>

namespace quillbox::simulator {
namespace {

using namespace std::chrono_literals;

/// A link between two sockets that the test holds: the client's and the service's.
class LinkTest : public testing::Test {
protected:
    LinkTest() {
        channel_->markAnswered(0);
        std::array<int, 2> near{};
        std::array<int, 2> far{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, near.data()), 0);
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, far.data()), 0);
        client_.reset(near[0]);
        service_.reset(far[0]);
        link_ = std::make_unique<Link>(UniqueFd{near[1]}, UniqueFd{far[1]}, conditions_, channel_);
        runner_ = std::thread{[this] { link_->run(); }};
    }

    ~LinkTest() override {
        link_->end();
        runner_.join();
    }

    /// Answers each byte that comes in with the same byte.
    void echo(std::size_t count) {
        wire::Bytes byte(1);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_TRUE(readAll(service_.get(), byte));
            roundTrips_ += channel_->takeSpoken() ? 1 : 0;
            channel_->addProduced(1);
            channel_->markAnswered(i + 1);
            ASSERT_TRUE(sendAll(service_.get(), byte));
        }
    }

    static Clock::duration timed(const std::function<void()>& work) {
        const auto begin = Clock::now();
        work();
        return Clock::now() - begin;
    }

    std::shared_ptr<LinkConditions> conditions_ = std::make_shared<LinkConditions>();
    std::shared_ptr<Channel> channel_ = std::make_shared<Channel>("test");
    std::atomic<int> roundTrips_ = 0;
    UniqueFd client_;
    UniqueFd service_;
    std::unique_ptr<Link> link_;
    std::thread runner_;
};

TEST_F(LinkTest, CarriesBytesBothWays) {
    std::thread service{[&] { echo(1); }};
    wire::Bytes byte{std::byte{7}};
    ASSERT_TRUE(sendAll(client_.get(), byte));
    byte[0] = std::byte{0};
    ASSERT_TRUE(readAll(client_.get(), byte));
    EXPECT_EQ(byte[0], std::byte{7});
    service.join();
}

TEST_F(LinkTest, ARoundTripTakesTheDelayTwice) {
    conditions_->delayNanoseconds = 20'000'000;
    std::thread service{[&] { echo(1); }};
    wire::Bytes byte(1);
    EXPECT_GE(timed([&] {
                  ASSERT_TRUE(sendAll(client_.get(), byte));
                  ASSERT_TRUE(readAll(client_.get(), byte));
              }),
              40ms);
    service.join();
}

TEST_F(LinkTest, RequestsInFlightOverlap) {
    conditions_->delayNanoseconds = 50'000'000;
    constexpr std::size_t kRequests = 20;
    std::thread service{[&] { echo(kRequests); }};
    wire::Bytes byte(1);
    const auto took = timed([&] {
        for (std::size_t i = 0; i < kRequests; ++i) {
            ASSERT_TRUE(sendAll(client_.get(), byte));
        }
        for (std::size_t i = 0; i < kRequests; ++i) {
            ASSERT_TRUE(readAll(client_.get(), byte));
        }
    });
    EXPECT_GE(took, 100ms);
    EXPECT_LT(took, 1900ms) << "twenty round trips one after the other would take two seconds";
    service.join();
    EXPECT_EQ(roundTrips_, 1);
}

TEST_F(LinkTest, RequestsOneByOneAreRoundTrips) {
    constexpr int kRequests = 5;
    std::thread service{[&] { echo(kRequests); }};
    wire::Bytes byte(1);
    for (int i = 0; i < kRequests; ++i) {
        ASSERT_TRUE(sendAll(client_.get(), byte));
        ASSERT_TRUE(readAll(client_.get(), byte));
    }
    service.join();
    EXPECT_EQ(roundTrips_, kRequests);
}

TEST_F(LinkTest, AStreamReachesTheBandwidthInSpiteOfTheDelay) {
    conditions_->delayNanoseconds = 20'000'000;
    constexpr std::uint64_t kBandwidth = 10'000'000;
    conditions_->bandwidth = kBandwidth;
    const wire::Bytes sent(2'000'000);
    std::thread service{[&] { EXPECT_TRUE(sendAll(service_.get(), sent)); }};
    wire::Bytes received(sent.size());
    const auto took = timed([&] { ASSERT_TRUE(readAll(client_.get(), received)); });
    service.join();
    EXPECT_GE(took, 200ms);
    EXPECT_LT(took, 2s);
}

TEST_F(LinkTest, WhatHasArrivedIsDeliveredBeforeTheEnd) {
    const wire::Bytes sent(1000);
    ASSERT_TRUE(sendAll(service_.get(), sent));
    link_->end();
    link_->waitEnded(5s);
    wire::Bytes received(sent.size());
    EXPECT_TRUE(readAll(client_.get(), received));
    wire::Bytes more(1);
    EXPECT_FALSE(readAll(client_.get(), more));
    EXPECT_TRUE(channel_->closed());
}

TEST_F(LinkTest, NothingMovesWhileHeld) {
    conditions_->hold(LinkConditions::HeldByDevice, true);
    link_->wake();
    wire::Bytes byte(1);
    ASSERT_TRUE(sendAll(client_.get(), byte));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(::recv(service_.get(), byte.data(), 1, MSG_DONTWAIT), -1);
    conditions_->hold(LinkConditions::HeldByDevice, false);
    link_->wake();
    EXPECT_TRUE(readAll(service_.get(), byte));
}

TEST_F(LinkTest, AClientThatLeavesWhileHeldIsNoticed) {
    conditions_->hold(LinkConditions::HeldByDevice, true);
    link_->wake();
    client_.reset();
    link_->waitEnded(5s);
    EXPECT_TRUE(channel_->closed());
}

TEST_F(LinkTest, TheServiceSeesTheClientLeave) {
    ASSERT_TRUE(sendAll(client_.get(), wire::Bytes(3)));
    client_.reset();
    wire::Bytes bytes(3);
    EXPECT_TRUE(readAll(service_.get(), bytes)) << "what was sent before still arrives";
    EXPECT_FALSE(readAll(service_.get(), bytes));
}

}  // namespace
}  // namespace quillbox::simulator
