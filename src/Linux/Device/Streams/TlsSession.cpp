// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Streams/TlsSession.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <array>
#include <climits>

namespace quillbox::device {

namespace {

struct FreeBio {
    void operator()(BIO* bio) const { BIO_free(bio); }
};

struct FreeCertificate {
    void operator()(X509* certificate) const { X509_free(certificate); }
};

struct FreeKey {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};

using Bio = std::unique_ptr<BIO, FreeBio>;

Bio memory(const std::string& text) {
    return Bio{BIO_new_mem_buf(text.data(), static_cast<int>(text.size()))};
}

std::string takeError() {
    std::array<char, 256> text{};
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    if (code == 0) {
        return "the connection ended";
    }
    ERR_error_string_n(code, text.data(), text.size());
    return text.data();
}

bool useIdentity(SSL_CTX* context, const TlsIdentity& identity) {
    const std::unique_ptr<X509, FreeCertificate> certificate{
        PEM_read_bio_X509(memory(identity.certificate).get(), nullptr, nullptr, nullptr)};
    const std::unique_ptr<EVP_PKEY, FreeKey> key{
        PEM_read_bio_PrivateKey(memory(identity.privateKey).get(), nullptr, nullptr, nullptr)};
    return certificate && key && SSL_CTX_use_certificate(context, certificate.get()) == 1 &&
           SSL_CTX_use_PrivateKey(context, key.get()) == 1;
}

}  // namespace

std::unique_ptr<TlsSession> TlsSession::make(int descriptor, const TlsIdentity& identity,
                                             std::string& error) {
    ERR_clear_error();
    Context context{SSL_CTX_new(TLS_client_method())};
    if (!context) {
        error = takeError();
        return nullptr;
    }
    // Old devices offer only old versions and small keys; what protects the connection is the
    // pairing, not a certificate authority.
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    SSL_CTX_set_options(context.get(), SSL_OP_LEGACY_SERVER_CONNECT | SSL_OP_IGNORE_UNEXPECTED_EOF);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE |
                                        SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER |
                                        SSL_MODE_RELEASE_BUFFERS);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
    // Whole records come in with one call instead of a head and a body each.
    SSL_CTX_set_read_ahead(context.get(), 1);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    if (!useIdentity(context.get(), identity)) {
        error = "the pairing record's certificate cannot be used: " + takeError();
        return nullptr;
    }
    Session session{SSL_new(context.get())};
    if (!session || SSL_set_fd(session.get(), descriptor) != 1) {
        error = takeError();
        return nullptr;
    }
    SSL_set_connect_state(session.get());
    return std::unique_ptr<TlsSession>{new TlsSession{std::move(context), std::move(session)}};
}

TlsSession::Step TlsSession::stepOf(int result) {
    switch (SSL_get_error(session_.get(), result)) {
    case SSL_ERROR_NONE:
        return Step::Done;
    case SSL_ERROR_WANT_READ:
        return Step::WantRead;
    case SSL_ERROR_WANT_WRITE:
        return Step::WantWrite;
    case SSL_ERROR_ZERO_RETURN:
        return Step::Closed;
    default:
        if (ERR_peek_error() == 0) {
            return Step::Closed;  // ended without a word, as a pulled cable does
        }
        lastError_ = takeError();
        return Step::Failed;
    }
}

TlsSession::Step TlsSession::handshake() {
    ERR_clear_error();
    return stepOf(SSL_do_handshake(session_.get()));
}

TlsSession::Step TlsSession::read(std::span<std::byte> into, std::size_t& moved) {
    ERR_clear_error();
    return stepOf(SSL_read_ex(session_.get(), into.data(), into.size(), &moved));
}

TlsSession::Step TlsSession::write(std::span<const std::byte> bytes, std::size_t& moved) {
    ERR_clear_error();
    return stepOf(SSL_write_ex(session_.get(), bytes.data(), bytes.size(), &moved));
}

TlsSession::Step TlsSession::shutdown() {
    ERR_clear_error();
    int result = SSL_shutdown(session_.get());
    if (result == 0) {
        // Ours is out; theirs may have come with the last answer already.
        result = SSL_shutdown(session_.get());
    }
    return result == 1 ? Step::Done : stepOf(result);
}

}  // namespace quillbox::device
