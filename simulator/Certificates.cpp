// SPDX-License-Identifier: GPL-3.0-or-later
#include "Certificates.h"

#include "UniqueFd.h"

#include <openssl/encoder.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace quillbox::simulator {
namespace {

using BioPointer = std::unique_ptr<BIO, OpenSslFree>;

wire::Bytes content(BIO* memory) {
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory, &text);
    const wire::ByteView view = wire::asBytes({text, static_cast<std::size_t>(length)});
    return {view.begin(), view.end()};
}

BioPointer reader(wire::ByteView pem) {
    return BioPointer{BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()))};
}

wire::Bytes makeSigned(EVP_PKEY* subject, EVP_PKEY* issuer, const char* commonName,
                       bool authority) {
    const X509Pointer certificate{X509_new()};
    X509* x509 = certificate.get();
    constexpr long kTenYears = 10L * 365 * 24 * 3600;
    X509_set_version(x509, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(x509), authority ? 1 : 2);
    // Clocks of computer and device may differ: valid since yesterday.
    X509_gmtime_adj(X509_getm_notBefore(x509), -24L * 3600);
    X509_gmtime_adj(X509_getm_notAfter(x509), kTenYears);
    X509_set_pubkey(x509, subject);
    const auto name = [](X509_NAME* target, const char* text) {
        X509_NAME_add_entry_by_txt(target, "CN", MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char*>(text), -1, -1, 0);
    };
    name(X509_get_subject_name(x509), commonName);
    name(X509_get_issuer_name(x509), "Simulated Root");
    X509V3_CTX extensions;
    X509V3_set_ctx(&extensions, x509, x509, nullptr, nullptr, 0);
    X509_EXTENSION* basic =
        X509V3_EXT_conf_nid(nullptr, &extensions, NID_basic_constraints,
                            authority ? "critical,CA:TRUE" : "critical,CA:FALSE");
    X509_add_ext(x509, basic, -1);
    X509_EXTENSION_free(basic);
    X509_sign(x509, issuer, EVP_sha256());
    const BioPointer memory{BIO_new(BIO_s_mem())};
    PEM_write_bio_X509(memory.get(), x509);
    return content(memory.get());
}

int acceptForNow(int /*verified*/, X509_STORE_CTX* /*store*/) {
    return 1;
}

}  // namespace

KeyPair KeyPair::make() {
    EVP_PKEY* key = EVP_RSA_gen(2048);
    if (key == nullptr) {
        throw std::runtime_error{"cannot make a key pair"};
    }
    return KeyPair{key};
}

KeyPair KeyPair::loadOrMake(const std::filesystem::path& file) {
    if (std::ifstream stream{file, std::ios::binary}) {
        const std::string pem{std::istreambuf_iterator<char>{stream}, {}};
        const BioPointer memory = reader(wire::asBytes(pem));
        if (EVP_PKEY* key = PEM_read_bio_PrivateKey(memory.get(), nullptr, nullptr, nullptr)) {
            return KeyPair{key};
        }
    }
    KeyPair made = make();
    const wire::Bytes pem = made.privatePem();
    // Written aside and renamed: another simulator may share the file.
    std::string aside = file.string() + ".XXXXXX";
    const UniqueFd fd{::mkostemp(aside.data(), O_CLOEXEC)};
    if (!fd || ::write(fd.get(), pem.data(), pem.size()) != static_cast<ssize_t>(pem.size()) ||
        ::rename(aside.c_str(), file.c_str()) != 0) {
        throw std::runtime_error{"cannot write " + file.string()};
    }
    return made;
}

wire::Bytes KeyPair::publicPem() const {
    const BioPointer memory{BIO_new(BIO_s_mem())};
    OSSL_ENCODER_CTX* encoder = OSSL_ENCODER_CTX_new_for_pkey(key_.get(), EVP_PKEY_PUBLIC_KEY,
                                                              "PEM", "type-specific", nullptr);
    OSSL_ENCODER_to_bio(encoder, memory.get());
    OSSL_ENCODER_CTX_free(encoder);
    return content(memory.get());
}

wire::Bytes KeyPair::privatePem() const {
    const BioPointer memory{BIO_new(BIO_s_mem())};
    PEM_write_bio_PrivateKey(memory.get(), key_.get(), nullptr, nullptr, 0, nullptr, nullptr);
    return content(memory.get());
}

wire::Bytes makeRootCertificate(const KeyPair& key) {
    return makeSigned(key.get(), key.get(), "Simulated Root", true);
}

wire::Bytes makeCertificate(const KeyPair& key, const KeyPair& issuerKey) {
    return makeSigned(key.get(), issuerKey.get(), "Simulated Device", false);
}

X509Pointer parseCertificate(wire::ByteView pem) {
    const BioPointer memory = reader(pem);
    return X509Pointer{PEM_read_bio_X509(memory.get(), nullptr, nullptr, nullptr)};
}

bool certifies(wire::ByteView pem, const KeyPair& key) {
    const X509Pointer certificate = parseCertificate(pem);
    return certificate && EVP_PKEY_eq(X509_get0_pubkey(certificate.get()), key.get()) == 1;
}

SslContextPointer makeServerContext(wire::ByteView certificatePem, const KeyPair& key) {
    SslContextPointer context{SSL_CTX_new(TLS_server_method()), OpenSslFree{}};
    const X509Pointer certificate = parseCertificate(certificatePem);
    if (!context || !certificate) {
        return nullptr;
    }
    // Pairing records are signed with SHA-1 by some hosts, and old ones only speak the first TLS.
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    // Nobody resumes a session here, and tickets would be unread bytes when a connection ends.
    SSL_CTX_set_num_tickets(context.get(), 0);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT,
                       acceptForNow);
    if (SSL_CTX_use_certificate(context.get(), certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1) {
        return nullptr;
    }
    return context;
}

std::string makeUuid() {
    std::array<unsigned char, 16> random{};
    RAND_bytes(random.data(), static_cast<int>(random.size()));
    std::string uuid;
    for (std::size_t i = 0; i < random.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            uuid += '-';
        }
        constexpr std::string_view kDigits = "0123456789ABCDEF";
        uuid += kDigits[random[i] >> 4U];
        uuid += kDigits[random[i] & 15U];
    }
    return uuid;
}

}  // namespace quillbox::simulator
