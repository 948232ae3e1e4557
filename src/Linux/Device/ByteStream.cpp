// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/ByteStream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace quillbox::device {

namespace {

/// Payload of one TLS record: a head and the beginning of its data are sent as one of these.
constexpr std::size_t kTlsRecord = 16U << 10U;

std::string systemError() {
    return std::generic_category().message(errno);
}

}  // namespace

ByteStream::ByteStream(int descriptor, std::shared_ptr<SocketBreaker> breaker,
                       std::chrono::milliseconds noProgress)
    : descriptor_{descriptor}, breaker_{std::move(breaker)}, noProgress_{noProgress} {
    const int flags = fcntl(descriptor_, F_GETFL);
    fcntl(descriptor_, F_SETFL, flags | O_NONBLOCK);
    breaker_->attach(descriptor_);
}

ByteStream::~ByteStream() {
    breaker_->detach();
}

bool ByteStream::fail(std::string reason) {
    if (error_.empty()) {
        error_ = breaker_->isBroken() ? "the connection was given up" : std::move(reason);
    }
    shutdown(descriptor_, SHUT_RDWR);
    return false;
}

bool ByteStream::waitFor(short events, Clock::time_point deadline) {
    while (true) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd entry{descriptor_, events, 0};
        const int ready = poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return fail("waiting failed: " + systemError());
        }
        if (ready == 0 && Clock::now() >= deadline) {
            return fail(
                "the device made no progress for " +
                std::to_string(std::chrono::ceil<std::chrono::seconds>(noProgress_).count()) +
                " s");
        }
    }
}

bool ByteStream::waitAfter(TlsSession::Step step, Clock::time_point deadline) {
    switch (step) {
    case TlsSession::Step::WantRead:
        return waitFor(POLLIN, deadline);
    case TlsSession::Step::WantWrite:
        return waitFor(POLLOUT, deadline);
    case TlsSession::Step::Closed:
        return fail("the device ended the connection");
    case TlsSession::Step::Failed:
    case TlsSession::Step::Done:
        break;
    }
    return fail("the secure connection failed: " + tls_->lastError());
}

bool ByteStream::startTls(const TlsIdentity& identity) {
    std::string reason;
    tls_ = TlsSession::make(descriptor_, identity, reason);
    if (!tls_) {
        return fail(std::move(reason));
    }
    const auto end = deadline();
    while (true) {
        const TlsSession::Step step = tls_->handshake();
        if (step == TlsSession::Step::Done) {
            return true;
        }
        if (!waitAfter(step, end)) {
            return false;
        }
    }
}

bool ByteStream::endTls() {
    if (!tls_) {
        return true;
    }
    const auto end = deadline();
    while (true) {
        const TlsSession::Step step = tls_->shutdown();
        if (step == TlsSession::Step::Done || step == TlsSession::Step::Closed) {
            tls_.reset();
            return true;
        }
        if (!waitAfter(step, end)) {
            return false;
        }
    }
}

bool ByteStream::sendPlain(wire::ByteView head, wire::ByteView rest) {
    auto end = deadline();
    while (!head.empty() || !rest.empty()) {
        std::array<iovec, 2> parts{};
        // The interface takes non-const pointers and only reads through them.
        parts[0] = {const_cast<std::byte*>(head.data()), head.size()};
        parts[1] = {const_cast<std::byte*>(rest.data()), rest.size()};
        msghdr message{};
        message.msg_iov = parts.data();
        message.msg_iovlen = parts.size();
        const ssize_t sent = sendmsg(descriptor_, &message, MSG_NOSIGNAL);
        if (sent > 0) {
            auto count = static_cast<std::size_t>(sent);
            const std::size_t ofHead = std::min(count, head.size());
            head = head.subspan(ofHead);
            rest = rest.subspan(count - ofHead);
            end = deadline();
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!waitFor(POLLOUT, end)) {
                return false;
            }
        } else if (errno != EINTR) {
            return fail("sending failed: " + systemError());
        }
    }
    return true;
}

bool ByteStream::sendTls(wire::ByteView bytes) {
    auto end = deadline();
    while (!bytes.empty()) {
        std::size_t moved = 0;
        const TlsSession::Step step = tls_->write(bytes, moved);
        if (step == TlsSession::Step::Done) {
            bytes = bytes.subspan(moved);
            end = deadline();
        } else if (!waitAfter(step, end)) {
            return false;
        }
    }
    return true;
}

bool ByteStream::send(wire::ByteView head, wire::ByteView rest) {
    if (!error_.empty()) {
        return false;
    }
    if (!tls_) {
        return sendPlain(head, rest);
    }
    if (head.size() < kTlsRecord && !rest.empty()) {
        // A short head does not travel in a record, and a packet, of its own.
        wire::Bytes first{head.begin(), head.end()};
        const std::size_t more = std::min(rest.size(), kTlsRecord - head.size());
        wire::append(first, rest.first(more));
        return sendTls(first) && sendTls(rest.subspan(more));
    }
    return sendTls(head) && sendTls(rest);
}

bool ByteStream::receive(std::span<std::byte> into) {
    if (!error_.empty()) {
        return false;
    }
    auto end = deadline();
    while (!into.empty()) {
        std::size_t moved = 0;
        if (tls_) {
            const TlsSession::Step step = tls_->read(into, moved);
            if (step != TlsSession::Step::Done) {
                if (!waitAfter(step, end)) {
                    return false;
                }
                continue;
            }
        } else {
            const ssize_t received = recv(descriptor_, into.data(), into.size(), 0);
            if (received == 0) {
                return fail("the device ended the connection");
            }
            if (received < 0) {
                if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) {
                    return fail("receiving failed: " + systemError());
                }
                if (errno != EINTR && !waitFor(POLLIN, end)) {
                    return false;
                }
                continue;
            }
            moved = static_cast<std::size_t>(received);
        }
        into = into.subspan(moved);
        end = deadline();
    }
    return true;
}

bool ByteStream::isAlive() const {
    return error_.empty() && breaker_->isOpen();
}

}  // namespace quillbox::device
