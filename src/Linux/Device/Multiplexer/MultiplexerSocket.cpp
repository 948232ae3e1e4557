// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Multiplexer/MultiplexerSocket.h"

#include "Linux/Device/Streams/PropertyLists.h"
#include "Wire/MuxHeader.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

namespace quillbox::device {

namespace {

constexpr std::string_view kUnixPrefix = "UNIX:";

std::string reasonOf(int code) {
    return std::generic_category().message(code);
}

struct FreeAddress {
    void operator()(addrinfo* address) const { freeaddrinfo(address); }
};

/// A connecting descriptor, or -1 with the reason.
int connectUnix(const std::string& path, std::string& error) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        error = "the socket's path is too long";
        return -1;
    }
    path.copy(address.sun_path, path.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0 ||
        ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return descriptor;
    }
    error = errno == EAGAIN ? std::string{kQueueFull} : reasonOf(errno);
    close(descriptor);
    return -1;
}

int connectTcp(const std::string& host, const std::string& port, std::string& error) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (const int code = getaddrinfo(host.c_str(), port.c_str(), &hints, &list); code != 0) {
        error = gai_strerror(code);
        return -1;
    }
    const std::unique_ptr<addrinfo, FreeAddress> owner{list};
    error = "the host has no address";
    for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
        const int descriptor =
            socket(entry->ai_family, entry->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK,
                   entry->ai_protocol);
        if (descriptor < 0) {
            error = reasonOf(errno);
            continue;
        }
        if (::connect(descriptor, entry->ai_addr, entry->ai_addrlen) == 0 || errno == EINPROGRESS) {
            return descriptor;
        }
        error = reasonOf(errno);
        close(descriptor);
    }
    return -1;
}

}  // namespace

std::string multiplexerAddress() {
    const char* named = std::getenv("USBMUXD_SOCKET_ADDRESS");
    return named != nullptr && *named != '\0' ? named : "UNIX:/var/run/usbmuxd";
}

std::unique_ptr<MultiplexerSocket> MultiplexerSocket::connect(const std::string& address,
                                                              std::string& error) {
    int descriptor = -1;
    if (address.starts_with(kUnixPrefix)) {
        descriptor = connectUnix(address.substr(kUnixPrefix.size()), error);
    } else if (const std::size_t colon = address.rfind(':'); colon != std::string::npos) {
        std::string host = address.substr(0, colon);
        if (host.size() > 1 && host.front() == '[' && host.back() == ']') {
            host = host.substr(1, host.size() - 2);
        }
        descriptor = connectTcp(host, address.substr(colon + 1), error);
    } else {
        error = "USBMUXD_SOCKET_ADDRESS is neither UNIX:/path nor host:port";
    }
    if (descriptor < 0) {
        return nullptr;
    }
    return std::unique_ptr<MultiplexerSocket>{new MultiplexerSocket{descriptor}};
}

MultiplexerSocket::~MultiplexerSocket() {
    close(descriptor_);
}

short MultiplexerSocket::events() const {
    return static_cast<short>(POLLIN | (connecting_ || !out_.empty() ? POLLOUT : 0));
}

void MultiplexerSocket::send(const PropertyDictionary& message, std::uint32_t tag) {
    const wire::Bytes body = writePropertyList(message);
    const auto header = wire::encodeMuxHeader(wire::makeMuxHeader(body.size(), tag));
    wire::append(out_, header);
    wire::append(out_, body);
}

bool MultiplexerSocket::fail(std::string reason) {
    over_ = true;
    if (error_.empty()) {
        error_ = std::move(reason);
    }
    return false;
}

bool MultiplexerSocket::sendQueued() {
    while (!out_.empty()) {
        const ssize_t sent = ::send(descriptor_, out_.data(), out_.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            out_.erase(out_.begin(), out_.begin() + sent);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOTCONN) {
            return true;
        } else if (errno != EINTR) {
            return fail(reasonOf(errno));
        }
    }
    return true;
}

bool MultiplexerSocket::receiveAll() {
    std::array<std::byte, 16384> buffer{};
    while (in_.size() <= wire::kMuxMaxLength) {
        const ssize_t received = recv(descriptor_, buffer.data(), buffer.size(), 0);
        if (received > 0) {
            wire::append(in_, wire::ByteView{buffer}.first(static_cast<std::size_t>(received)));
        } else if (received == 0) {
            // What arrived before the end is still taken out by `next`.
            return fail("it ended the connection");
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return true;
        } else if (errno != EINTR) {
            return fail(reasonOf(errno));
        }
    }
    return true;
}

bool MultiplexerSocket::move() {
    if (connecting_) {
        int code = 0;
        socklen_t size = sizeof code;
        getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &code, &size);
        if (code != 0) {
            return fail(reasonOf(code));
        }
        pollfd entry{descriptor_, POLLOUT, 0};
        if (poll(&entry, 1, 0) == 0) {
            return true;
        }
        connecting_ = false;
    }
    return sendQueued() && receiveAll();
}

std::optional<MultiplexerSocket::Message> MultiplexerSocket::next() {
    if (in_.size() < wire::kMuxHeaderSize) {
        return std::nullopt;
    }
    const auto header = wire::decodeMuxHeader(in_);
    if (!header) {
        in_.clear();
        fail("it sent a malformed message: " + std::string{wire::describe(header.error())});
        return std::nullopt;
    }
    if (in_.size() < header->length) {
        return std::nullopt;
    }
    const auto body = wire::ByteView{in_}.subspan(wire::kMuxHeaderSize, header->payloadLength());
    auto values = parseDictionary(body);
    const std::uint32_t tag = header->tag;
    in_.erase(in_.begin(), in_.begin() + header->length);
    if (!values) {
        in_.clear();
        fail("it sent a message that is no property list");
        return std::nullopt;
    }
    return Message{std::move(*values), tag};
}

}  // namespace quillbox::device
