// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/SocketBreaker.h"
#include "Linux/Device/TlsSession.h"
#include "Wire/Bytes.h"

#include <chrono>
#include <memory>
#include <string>

namespace quillbox::device {

/// Bytes to and from a device over a connected socket, in the clear or under TLS. One thread at a
/// time; another may end it through the breaker. Every wait is bounded: an operation fails when
/// nothing moves for the given time. After a failure the stream is over and `error` says why.
class ByteStream {
public:
    /// Makes the descriptor non-blocking. It is borrowed: it must stay open as long as the stream.
    ByteStream(int descriptor, std::shared_ptr<SocketBreaker> breaker,
               std::chrono::milliseconds noProgress);
    ~ByteStream();
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    bool startTls(const TlsIdentity& identity);
    /// Ends TLS; what follows travels in the clear on the same connection.
    bool endTls();

    /// Sends both parts, one behind the other, all of it or fails.
    bool send(wire::ByteView head, wire::ByteView rest = {});
    /// Fills `into` or fails.
    bool receive(std::span<std::byte> into);

    /// Whether the other side has not ended the connection, as far as is known without asking.
    bool isAlive() const;

    void setNoProgress(std::chrono::milliseconds limit) { noProgress_ = limit; }

    const std::string& error() const { return error_; }

    SocketBreaker& breaker() { return *breaker_; }

private:
    using Clock = std::chrono::steady_clock;

    bool fail(std::string reason);
    bool waitFor(short events, Clock::time_point deadline);
    bool waitAfter(TlsSession::Step step, Clock::time_point deadline);
    bool sendPlain(wire::ByteView head, wire::ByteView rest);
    bool sendTls(wire::ByteView bytes);

    Clock::time_point deadline() const { return Clock::now() + noProgress_; }

    int descriptor_;
    std::shared_ptr<SocketBreaker> breaker_;
    std::chrono::milliseconds noProgress_;
    std::unique_ptr<TlsSession> tls_;
    std::string error_;
};

}  // namespace quillbox::device
