// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Certificates.h"
#include "Channel.h"
#include "UniqueFd.h"
#include "Wire/Bytes.h"

#include <memory>
#include <span>

namespace quillbox::simulator {

/// The service's end of a connection: blocking reads and writes, plain or through TLS. Every call
/// returns false once the connection has ended; it then stays so. Used by one thread.
class Stream {
public:
    Stream(UniqueFd socket, std::shared_ptr<Channel> channel);
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream();

    /// Fills `target` wholly.
    [[nodiscard]] bool read(std::span<std::byte> target);

    /// Sends all of `first` and `second`, one behind the other.
    [[nodiscard]] bool write(wire::ByteView first, wire::ByteView second = {});

    /// Goes over to TLS as the server; true after a whole handshake.
    [[nodiscard]] bool startTls(const SslContextPointer& context);

    /// Ends TLS and goes on in plain: answers the client's closing notice.
    void endTls();

    /// The certificate that the client showed in the handshake, null without one.
    [[nodiscard]] X509Pointer peerCertificate() const;

    [[nodiscard]] bool secure() const { return tls_ != nullptr; }

    /// Says that the next write answers the last of what was read so far; without a write that
    /// nothing waits for an answer. The link counts round trips by it.
    void markAnswering();
    void markAnswered();

    [[nodiscard]] Channel& channel() { return *channel_; }

    /// Bytes taken from the socket, as they came in; for TLS's own use.
    [[nodiscard]] std::ptrdiff_t receive(std::span<std::byte> target);

    /// Keeps bytes until the next flush(); for TLS's own use.
    void gather(wire::ByteView bytes) { wire::append(gathered_, bytes); }

    /// Puts what was gathered on the socket; for TLS's own use.
    [[nodiscard]] bool flush();

private:
    UniqueFd socket_;
    std::shared_ptr<Channel> channel_;
    [[nodiscard]] bool transmit(wire::ByteView first, wire::ByteView second);
    [[nodiscard]] bool transmitAll(wire::ByteView bytes);

    std::uint64_t consumed_ = 0;
    bool answering_ = false;
    wire::Bytes gathered_;
    SslPointer tls_;
};

}  // namespace quillbox::simulator
