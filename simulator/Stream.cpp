// SPDX-License-Identifier: GPL-3.0-or-later
#include "Stream.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace quillbox::simulator {
namespace {

// TLS reads and writes through the stream itself, which counts what comes in and never raises
// SIGPIPE.
Stream& streamOf(BIO* bio) {
    return *static_cast<Stream*>(BIO_get_data(bio));
}

int bioRead(BIO* bio, char* target, std::size_t size, std::size_t* got) {
    Stream& stream = streamOf(bio);
    if (!stream.flush()) {
        *got = 0;
        return 0;
    }
    const std::ptrdiff_t count = stream.receive(std::as_writable_bytes(std::span{target, size}));
    *got = count > 0 ? static_cast<std::size_t>(count) : 0;
    return count > 0 ? 1 : 0;
}

// Records are gathered and go out together: a large answer is one long write instead of many short
// ones, and the link sees the whole of it announced.
int bioWrite(BIO* bio, const char* bytes, std::size_t size, std::size_t* sent) {
    streamOf(bio).gather(wire::asBytes({bytes, size}));
    *sent = size;
    return 1;
}

long bioControl(BIO* bio, int command, long /*number*/, void* /*pointer*/) {
    return command == BIO_CTRL_FLUSH && streamOf(bio).flush() ? 1 : 0;
}

BIO_METHOD* streamMethod() {
    struct Free {
        void operator()(BIO_METHOD* method) const { BIO_meth_free(method); }
    };

    static const std::unique_ptr<BIO_METHOD, Free> kMethod = [] {
        std::unique_ptr<BIO_METHOD, Free> method{
            BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "stream")};
        BIO_meth_set_read_ex(method.get(), bioRead);
        BIO_meth_set_write_ex(method.get(), bioWrite);
        BIO_meth_set_ctrl(method.get(), bioControl);
        return method;
    }();
    return kMethod.get();
}

}  // namespace

Stream::Stream(UniqueFd socket, std::shared_ptr<Channel> channel)
    : socket_{std::move(socket)}, channel_{std::move(channel)} {}

Stream::~Stream() {
    if (tls_) {
        // Says goodbye without waiting for an answer.
        SSL_shutdown(tls_.get());
        [[maybe_unused]] const bool said = flush();
        ERR_clear_error();
    }
}

std::ptrdiff_t Stream::receive(std::span<std::byte> target) {
    for (;;) {
        const ssize_t got = ::recv(socket_.get(), target.data(), target.size(), 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got > 0) {
            consumed_ += static_cast<std::uint64_t>(got);
        }
        return got;
    }
}

bool Stream::transmit(wire::ByteView first, wire::ByteView second) {
    channel_->addProduced(first.size() + second.size());
    if (answering_) {
        answering_ = false;
        channel_->markAnswered(consumed_);
    }
    return transmitAll(first) && transmitAll(second);
}

bool Stream::transmitAll(wire::ByteView bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
    return true;
}

bool Stream::flush() {
    if (gathered_.empty()) {
        return true;
    }
    const bool sent = transmit(gathered_, {});
    gathered_.clear();
    return sent;
}

bool Stream::read(std::span<std::byte> target) {
    while (!target.empty()) {
        std::ptrdiff_t got = 0;
        if (tls_) {
            std::size_t count = 0;
            got = SSL_read_ex(tls_.get(), target.data(), target.size(), &count) == 1
                      ? static_cast<std::ptrdiff_t>(count)
                      : 0;
            ERR_clear_error();
        } else {
            got = receive(target);
        }
        if (got <= 0) {
            return false;
        }
        target = target.subspan(static_cast<std::size_t>(got));
    }
    return true;
}

bool Stream::write(wire::ByteView first, wire::ByteView second) {
    if (!tls_) {
        return transmit(first, second);
    }
    for (wire::ByteView bytes : {first, second}) {
        while (!bytes.empty()) {
            std::size_t sent = 0;
            if (SSL_write_ex(tls_.get(), bytes.data(), bytes.size(), &sent) != 1) {
                ERR_clear_error();
                return false;
            }
            bytes = bytes.subspan(sent);
        }
    }
    return flush();
}

bool Stream::startTls(const SslContextPointer& context) {
    SslPointer tls{SSL_new(context.get())};
    BIO* bio = BIO_new(streamMethod());
    BIO_set_data(bio, this);
    BIO_set_init(bio, 1);
    SSL_set_bio(tls.get(), bio, bio);
    const bool done = SSL_accept(tls.get()) == 1 && flush();
    ERR_clear_error();
    if (done) {
        tls_ = std::move(tls);
    }
    return done;
}

void Stream::endTls() {
    if (!tls_) {
        return;
    }
    // The client's closing notice comes first; whatever it sends before is past the session's end.
    std::array<std::byte, 1024> ignored{};
    std::size_t count = 0;
    while (SSL_read_ex(tls_.get(), ignored.data(), ignored.size(), &count) == 1) {
    }
    SSL_shutdown(tls_.get());
    [[maybe_unused]] const bool said = flush();
    ERR_clear_error();
    tls_.reset();
}

X509Pointer Stream::peerCertificate() const {
    return X509Pointer{tls_ ? SSL_get1_peer_certificate(tls_.get()) : nullptr};
}

void Stream::markAnswering() {
    // A further request may have come in the same record as the one that is answered.
    answering_ = !tls_ || SSL_has_pending(tls_.get()) == 0;
}

void Stream::markAnswered() {
    channel_->markAnswered(consumed_);
}

}  // namespace quillbox::simulator
