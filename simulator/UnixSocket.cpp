// SPDX-License-Identifier: GPL-3.0-or-later
#include "UnixSocket.h"

#include "Wire/PropertyListFrame.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace quillbox::simulator {
namespace {

sockaddr_un addressOf(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.native().size() >= sizeof address.sun_path) {
        throw std::runtime_error{"a socket cannot have the path \"" + path.string() + "\""};
    }
    std::memcpy(address.sun_path, path.c_str(), path.native().size());
    return address;
}

UniqueFd makeSocket() {
    return UniqueFd{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
}

}  // namespace

UniqueFd listenOn(const std::filesystem::path& path) {
    const sockaddr_un address = addressOf(path);
    if (connectTo(path)) {
        throw std::runtime_error{"another process answers on " + path.string()};
    }
    if (errno == ECONNREFUSED) {
        ::unlink(path.c_str());
    }
    UniqueFd listener = makeSocket();
    constexpr int kBacklog = 128;
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener.get(), kBacklog) != 0) {
        throw std::runtime_error{"cannot listen on " + path.string() + ": " +
                                 std::generic_category().message(errno)};
    }
    return listener;
}

UniqueFd connectTo(const std::filesystem::path& path) {
    const sockaddr_un address = addressOf(path);
    UniqueFd socket = makeSocket();
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        socket.reset();
        errno = error;
    }
    return socket;
}

bool readAll(int socket, std::span<std::byte> target) {
    while (!target.empty()) {
        const ssize_t got = ::recv(socket, target.data(), target.size(), 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        target = target.subspan(static_cast<std::size_t>(got));
    }
    return true;
}

bool sendAll(int socket, wire::ByteView bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
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

std::optional<wire::Bytes> readBlock(int socket, std::size_t most) {
    std::array<std::byte, wire::kFrameHeaderSize> fixed{};
    if (!readAll(socket, fixed)) {
        return std::nullopt;
    }
    const auto length = wire::decodeFrameLength(fixed, most);
    if (!length) {
        return std::nullopt;
    }
    wire::Bytes block(*length);
    if (!readAll(socket, block)) {
        return std::nullopt;
    }
    return block;
}

}  // namespace quillbox::simulator
