// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Streams/ByteStream.h"

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

bool ByteStream::sendSomePlain(wire::ByteView head, wire::ByteView rest, std::size_t& moved) {
    std::array<iovec, 2> parts{};
    // The interface takes non-const pointers and only reads through them.
    parts[0] = {const_cast<std::byte*>(head.data()), head.size()};
    parts[1] = {const_cast<std::byte*>(rest.data()), rest.size()};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    const ssize_t sent = sendmsg(descriptor_, &message, MSG_NOSIGNAL);
    if (sent >= 0) {
        moved = static_cast<std::size_t>(sent);
        return true;
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) {
        return true;
    }
    return fail("sending failed: " + systemError());
}

/// False, and the reason is kept, where the step was the end.
bool ByteStream::isOver(TlsSession::Step step) {
    if (step == TlsSession::Step::WantRead || step == TlsSession::Step::WantWrite) {
        wantsToSend_ = step == TlsSession::Step::WantWrite;
        return false;
    }
    fail(step == TlsSession::Step::Closed ? "the device ended the connection"
                                          : "the secure connection failed: " + tls_->lastError());
    return true;
}

bool ByteStream::sendSomeTls(wire::ByteView head, wire::ByteView rest, std::size_t& moved) {
    wire::ByteView bytes = head.empty() ? rest : head;
    if (!head.empty() && head.size() < kTlsRecord && !rest.empty()) {
        // A short head does not travel in a record, and a packet, of its own. An attempt that
        // found no room puts the same record together again.
        record_.assign(head.begin(), head.end());
        wire::append(record_, rest.first(std::min(rest.size(), kTlsRecord - head.size())));
        bytes = record_;
    }
    const TlsSession::Step step = tls_->write(bytes, moved);
    if (step == TlsSession::Step::Done) {
        wantsToSend_ = false;
        return true;
    }
    moved = 0;
    return !isOver(step);
}

bool ByteStream::sendSome(wire::ByteView head, wire::ByteView rest, std::size_t& moved) {
    moved = 0;
    if (!error_.empty()) {
        return false;
    }
    return tls_ ? sendSomeTls(head, rest, moved) : sendSomePlain(head, rest, moved);
}

bool ByteStream::receiveSome(std::span<std::byte> into, std::size_t& moved) {
    moved = 0;
    if (!error_.empty()) {
        return false;
    }
    if (tls_) {
        const TlsSession::Step step = tls_->read(into, moved);
        if (step == TlsSession::Step::Done) {
            wantsToSend_ = false;
            return true;
        }
        moved = 0;
        return !isOver(step);
    }
    const ssize_t received = recv(descriptor_, into.data(), into.size(), 0);
    if (received > 0) {
        moved = static_cast<std::size_t>(received);
        return true;
    }
    if (received == 0) {
        return fail("the device ended the connection");
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) {
        return true;
    }
    return fail("receiving failed: " + systemError());
}

bool ByteStream::waitForMore(bool toSend, Clock::time_point since) {
    const int events = POLLIN | (toSend || wantsToSend_ ? POLLOUT : 0);
    return waitFor(static_cast<short>(events), since + noProgress_);
}

bool ByteStream::send(wire::ByteView head, wire::ByteView rest) {
    auto since = Clock::now();
    while (!head.empty() || !rest.empty()) {
        std::size_t moved = 0;
        if (!sendSome(head, rest, moved)) {
            return false;
        }
        if (moved > 0) {
            const std::size_t ofHead = std::min(moved, head.size());
            head = head.subspan(ofHead);
            rest = rest.subspan(moved - ofHead);
            since = Clock::now();
        } else if (!waitFor(tls_ && !wantsToSend_ ? POLLIN : POLLOUT, since + noProgress_)) {
            return false;
        }
    }
    return error_.empty();
}

bool ByteStream::receive(std::span<std::byte> into) {
    auto since = Clock::now();
    while (!into.empty()) {
        std::size_t moved = 0;
        if (!receiveSome(into, moved)) {
            return false;
        }
        if (moved > 0) {
            into = into.subspan(moved);
            since = Clock::now();
        } else if (!waitForMore(false, since)) {
            return false;
        }
    }
    return error_.empty();
}

bool ByteStream::isAlive() const {
    return error_.empty() && breaker_->isOpen();
}

}  // namespace quillbox::device
