// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Streams/SocketBreaker.h"
#include "Linux/Device/Streams/TlsSession.h"
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

    /// Sends what the connection takes at once of both parts, one behind the other: `moved` bytes,
    /// 0 where it takes none now. What was not taken must come again with the next call. False:
    /// the stream is over.
    bool sendSome(wire::ByteView head, wire::ByteView rest, std::size_t& moved);
    /// Takes what has arrived, `moved` bytes, 0 where nothing has. False: the stream is over.
    bool receiveSome(std::span<std::byte> into, std::size_t& moved);
    /// Waits until something arrives, or can be sent where `toSend`. False: nothing moved since
    /// `since` for as long as is allowed, or the stream is over.
    bool waitForMore(bool toSend, std::chrono::steady_clock::time_point since);

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
    bool sendSomePlain(wire::ByteView head, wire::ByteView rest, std::size_t& moved);
    bool sendSomeTls(wire::ByteView head, wire::ByteView rest, std::size_t& moved);
    bool isOver(TlsSession::Step step);

    Clock::time_point deadline() const { return Clock::now() + noProgress_; }

    int descriptor_;
    std::shared_ptr<SocketBreaker> breaker_;
    std::chrono::milliseconds noProgress_;
    std::unique_ptr<TlsSession> tls_;
    /// One record: a short head and the beginning of its data travel together.
    wire::Bytes record_;
    /// The secure connection wants to send before it can take in more, or the other way round.
    bool wantsToSend_ = false;
    std::string error_;
};

}  // namespace quillbox::device
