// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/LocalSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <string_view>

namespace quillbox::control {

namespace {

constexpr int kBacklog = 16;

using SocketCall = int (*)(int, const sockaddr*, socklen_t);

/// Binds or connects; 0, or -1 with `errno`.
int callWithPath(SocketCall call, int socket, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string name = path;
    std::unique_ptr<Descriptor> folder;
    if (name.size() >= sizeof address.sun_path) {
        const auto slash = path.rfind('/');
        const std::string parent = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        folder = Descriptor::own(::open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder) {
            return -1;
        }
        name = "/proc/self/fd/" + std::to_string(folder->number()) + "/" +
               path.substr(slash == std::string::npos ? 0 : slash + 1);
        if (name.size() >= sizeof address.sun_path) {
            errno = ENAMETOOLONG;
            return -1;
        }
    }
    name.copy(address.sun_path, name.size());
    return call(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

std::unique_ptr<Descriptor> makeSocket() {
    return Descriptor::own(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

}  // namespace

std::unique_ptr<Descriptor> listenAt(const std::string& path, std::string* error) {
    auto socket = makeSocket();
    ::unlink(path.c_str());
    // Between bind and chmod only the folder guards it, which is private; nobody is served before
    // `listen` anyway.
    if (!socket || callWithPath(&::bind, socket->number(), path) != 0 ||
        ::chmod(path.c_str(), 0600) != 0 || ::listen(socket->number(), kBacklog) != 0) {
        *error = "The socket " + path + " cannot be made: " + std::strerror(errno);
        return nullptr;
    }
    return socket;
}

std::unique_ptr<Descriptor> connectTo(const std::string& path) {
    auto socket = makeSocket();
    if (!socket || callWithPath(&::connect, socket->number(), path) != 0) {
        return nullptr;
    }
    return socket;
}

std::unique_ptr<Descriptor> acceptFrom(const Descriptor& listener) {
    return Descriptor::own(
        ::accept4(listener.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

bool isTrustedPeer(const Descriptor& socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket.number(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           (peer.uid == ::geteuid() || peer.uid == 0);
}

}  // namespace quillbox::control
