// SPDX-License-Identifier: GPL-3.0-or-later
#include "Link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace quillbox::simulator {
namespace {

constexpr std::size_t kLargestPiece = 256U << 10U;
// Under a bandwidth limit a piece comes out as a whole when its last byte has: small pieces flow
// evenly.
constexpr std::size_t kLimitedPiece = 16U << 10U;
constexpr std::size_t kBuffer = 1U << 20U;

void setNonBlocking(int fd) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

}  // namespace

void LinkConditions::hold(Hold reason, bool on) {
    if (on) {
        holds_ |= reason;
    } else {
        holds_ &= ~static_cast<unsigned>(reason);
    }
}

Clock::time_point LinkConditions::due(bool towardsDevice, std::size_t count,
                                      Clock::time_point now) {
    return clocks_[towardsDevice ? 0 : 1].carry(count, bandwidth, now) +
           std::chrono::nanoseconds{delayNanoseconds.load()};
}

std::size_t LinkConditions::capacity() const {
    const double seconds = static_cast<double>(delayNanoseconds.load()) / 1e9;
    const std::uint64_t rate = bandwidth == 0 ? 1'000'000'000U : bandwidth.load();
    return kBuffer + static_cast<std::size_t>(
                         std::min(seconds * 2 * static_cast<double>(rate), 256.0 * (1U << 20U)));
}

Link::Link(UniqueFd client, UniqueFd service, std::shared_ptr<LinkConditions> conditions,
           std::shared_ptr<Channel> channel)
    : client_{std::move(client)},
      service_{std::move(service)},
      wakeup_{::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)},
      conditions_{std::move(conditions)},
      channel_{std::move(channel)},
      received_(kLargestPiece) {
    setNonBlocking(client_.get());
    setNonBlocking(service_.get());
    up_.towardsDevice = true;
    up_.source = client_.get();
    up_.sink = service_.get();
    down_.source = service_.get();
    down_.sink = client_.get();
}

void Link::run() {
    // By default the kernel lets a wait last 50 microseconds longer, which a delay would add to
    // both its directions.
    ::prctl(PR_SET_TIMERSLACK, 1UL);
    while (!ending_ && !down_.done) {
        const bool moving = !conditions_->held();
        if (!moving && clientGone_) {
            break;
        }
        if (moving) {
            for (Direction* direction : {&up_, &down_}) {
                pull(*direction);
                push(*direction, false);
            }
        }
        if (down_.done) {
            break;
        }
        wait();
    }
    if (ending_ && !conditions_->held()) {
        flushAtEnd();
    }
    channel_->close();
    // shutdown reaches the service even while it holds its own end of the pair.
    ::shutdown(service_.get(), SHUT_RDWR);
    ::shutdown(client_.get(), SHUT_RDWR);
    service_.reset();
    client_.reset();
    ended_.close();
}

bool Link::startsRoundTrip() const {
    return channel_->idle() && up_.line.empty();
}

void Link::pull(Direction& direction) {
    while (!direction.sourceEnded && direction.line.size() < conditions_->capacity()) {
        const std::size_t most = conditions_->bandwidth == 0 ? kLargestPiece : kLimitedPiece;
        const ssize_t got = ::recv(direction.source, received_.data(), most, MSG_DONTWAIT);
        if (got > 0) {
            const wire::ByteView piece{received_.data(), static_cast<std::size_t>(got)};
            if (direction.towardsDevice && startsRoundTrip()) {
                channel_->markSpoken();
            }
            direction.line.push(
                {piece.begin(), piece.end()},
                conditions_->due(direction.towardsDevice, piece.size(), Clock::now()));
            if (piece.size() < most) {
                return;
            }
            continue;
        }
        if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        direction.sourceEnded = true;
    }
}

void Link::push(Direction& direction, bool ignoreTime) {
    direction.sinkBlocked = false;
    const auto now = ignoreTime ? Clock::time_point::max() : Clock::now();
    for (;;) {
        const wire::ByteView ready = direction.line.ready(now);
        if (ready.empty()) {
            break;
        }
        const ssize_t sent =
            ::send(direction.sink, ready.data(), ready.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0) {
            if (direction.towardsDevice) {
                channel_->addDelivered(static_cast<std::uint64_t>(sent));
            } else {
                channel_->addForwarded(static_cast<std::uint64_t>(sent));
            }
            direction.line.consume(static_cast<std::size_t>(sent));
            continue;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno == EAGAIN) {
            direction.sinkBlocked = true;
            return;
        }
        direction.line.clear();
        direction.sourceEnded = true;
    }
    if (direction.sourceEnded && direction.line.empty() && !direction.done) {
        direction.done = true;
        ::shutdown(direction.sink, SHUT_WR);
    }
}

void Link::flushAtEnd() {
    // What the device had sent by now is delivered, as far as the client has room for it.
    pull(down_);
    push(down_, true);
}

void Link::wait() {
    const bool moving = !conditions_->held();
    std::array<pollfd, 3> fds{};
    fds[0] = {wakeup_.get(), POLLIN, 0};
    // A client that is gone is noticed also while nothing moves, so that a stalled service gives
    // up.
    fds[1] = {clientGone_ ? -1 : client_.get(), 0, 0};
    fds[2] = {moving ? service_.get() : -1, 0, 0};
    std::optional<Clock::time_point> due;
    const auto now = Clock::now();
    if (moving) {
        const auto want = [&](const Direction& direction, pollfd& source, pollfd& sink) {
            if (!direction.sourceEnded && direction.line.size() < conditions_->capacity()) {
                source.events |= POLLIN;
            }
            if (direction.sinkBlocked) {
                sink.events |= POLLOUT;
            } else if (const auto next = direction.line.nextDue()) {
                due = due ? std::min(*due, *next) : *next;
            }
        };
        want(up_, fds[1], fds[2]);
        want(down_, fds[2], fds[1]);
        if (fds[2].events == 0) {
            // Its end would wake us at once, again and again.
            fds[2].fd = -1;
        }
    }
    timespec timeout{};
    if (due) {
        const auto left = std::max(*due - now, Clock::duration::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        timeout.tv_sec = seconds.count();
        timeout.tv_nsec = std::chrono::nanoseconds(left - seconds).count();
    }
    ::ppoll(fds.data(), fds.size(), due ? &timeout : nullptr, nullptr);
    if ((fds[1].revents & (POLLHUP | POLLERR)) != 0) {
        clientGone_ = true;
        channel_->close();
    }
    if ((fds[0].revents & POLLIN) != 0) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = ::read(wakeup_.get(), &count, sizeof count);
    }
}

void Link::end() {
    ending_ = true;
    wake();
}

void Link::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t sent = ::write(wakeup_.get(), &one, sizeof one);
}

void Link::waitEnded(std::chrono::milliseconds longest) {
    ended_.waitClosed(longest);
}

}  // namespace quillbox::simulator
