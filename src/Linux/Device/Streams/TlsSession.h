// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <openssl/ssl.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace quillbox::device {

/// What this computer shows a device in a TLS handshake: the pairing record's root certificate and
/// its key, both PEM.
struct TlsIdentity {
    std::string certificate;
    std::string privateKey;
};

/// TLS, as client, on a non-blocking descriptor that it does not own. One thread at a time.
///
/// The device library's own TLS is not used: without its own lockdown handshake it allows nothing
/// above TLS 1.0, it tries for ever again when a wait on the socket runs out, and it asks the
/// multiplexer for the pairing record on every connection.
class TlsSession {
public:
    /// What a step ended with: bytes moved, a wait that is due first, or the end.
    enum class Step { Done, WantRead, WantWrite, Closed, Failed };

    /// Null where the identity cannot be used; `error` says why.
    static std::unique_ptr<TlsSession> make(int descriptor, const TlsIdentity& identity,
                                            std::string& error);

    Step handshake();
    /// Done: `moved` bytes, at least 1.
    Step read(std::span<std::byte> into, std::size_t& moved);
    /// Done: `moved` bytes, at least 1. A write that wants a wait goes on with the same bytes.
    Step write(std::span<const std::byte> bytes, std::size_t& moved);
    /// Sends our end of the session and takes the other side's.
    Step shutdown();

    /// The reason of the last Failed.
    std::string lastError() const { return lastError_; }

private:
    struct FreeContext {
        void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    };

    struct FreeSession {
        void operator()(SSL* session) const { SSL_free(session); }
    };

    using Context = std::unique_ptr<SSL_CTX, FreeContext>;
    using Session = std::unique_ptr<SSL, FreeSession>;

    TlsSession(Context context, Session session)
        : context_{std::move(context)}, session_{std::move(session)} {}

    Step stepOf(int result);

    Context context_;
    Session session_;
    std::string lastError_;
};

}  // namespace quillbox::device
