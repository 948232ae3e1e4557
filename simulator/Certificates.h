// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"

#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace quillbox::simulator {

struct OpenSslFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }

    void operator()(X509* certificate) const { X509_free(certificate); }

    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }

    void operator()(SSL* tls) const { SSL_free(tls); }

    void operator()(BIO* bio) const { BIO_free(bio); }
};

using X509Pointer = std::unique_ptr<X509, OpenSslFree>;
using SslPointer = std::unique_ptr<SSL, OpenSslFree>;
using SslContextPointer = std::shared_ptr<SSL_CTX>;

/// An RSA key pair of 2048 bits. Making one takes tens of milliseconds and more, so that a process
/// makes a single one and uses it for devices and for the pairing records that it writes itself.
class KeyPair {
public:
    /// The key pair kept in that file; made and written there, readable by the owner only, when
    /// there is none. Throws std::runtime_error when neither works.
    [[nodiscard]] static KeyPair loadOrMake(const std::filesystem::path& file);

    /// A new one that is kept nowhere.
    [[nodiscard]] static KeyPair make();

    /// The public half as a device gives it under "DevicePublicKey": PEM of the RSA key itself.
    [[nodiscard]] wire::Bytes publicPem() const;

    /// The private half as pairing records carry it.
    [[nodiscard]] wire::Bytes privatePem() const;

    [[nodiscard]] EVP_PKEY* get() const { return key_.get(); }

private:
    explicit KeyPair(EVP_PKEY* key) : key_{key, OpenSslFree{}} {}

    std::shared_ptr<EVP_PKEY> key_;
};

/// A certificate authority of its own, valid for ten years, as PEM.
[[nodiscard]] wire::Bytes makeRootCertificate(const KeyPair& key);

/// A certificate for `key` that `issuerKey` signs, as PEM.
[[nodiscard]] wire::Bytes makeCertificate(const KeyPair& key, const KeyPair& issuerKey);

/// Reads a PEM certificate; nothing when it is none.
[[nodiscard]] X509Pointer parseCertificate(wire::ByteView pem);

/// Whether the PEM certificate is one for this key.
[[nodiscard]] bool certifies(wire::ByteView pem, const KeyPair& key);

/// TLS as a device serves it: with that certificate for its key, asking for the client's
/// certificate, which the caller compares after the handshake. Null when the certificate does not
/// fit.
[[nodiscard]] SslContextPointer makeServerContext(wire::ByteView certificatePem,
                                                  const KeyPair& key);

/// A random identifier: eight, four, four, four and twelve upper-case hexadecimal digits.
[[nodiscard]] std::string makeUuid();

}  // namespace quillbox::simulator
