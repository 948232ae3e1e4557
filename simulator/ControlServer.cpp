// SPDX-License-Identifier: GPL-3.0-or-later
#include "ControlServer.h"

#include "UnixSocket.h"
#include "Wire/AfcLists.h"
#include "Wire/PropertyListFrame.h"

#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>

namespace quillbox::simulator {

ControlServer::ControlServer(Simulation& simulation, std::filesystem::path socket)
    : simulation_{simulation},
      path_{std::move(socket)},
      listener_{listenOn(path_)},
      quit_{::eventfd(0, EFD_CLOEXEC)},
      acceptor_{[this] { acceptClients(); }} {}

ControlServer::~ControlServer() {
    stop();
}

void ControlServer::stop() {
    {
        const std::scoped_lock lock{mutex_};
        if (stopped_) {
            return;
        }
        stopped_ = true;
        for (const int client : clients_) {
            // Reading ends; the answer to a command that runs still goes out.
            ::shutdown(client, SHUT_RD);
        }
        ::shutdown(listener_.get(), SHUT_RDWR);
        ::unlink(path_.c_str());
    }
    acceptor_.join();
}

void ControlServer::acceptClients() {
    for (;;) {
        const int accepted = ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC);
        const int error = errno;
        const std::scoped_lock lock{mutex_};
        if (stopped_ || (accepted < 0 && error != EINTR && error != ECONNABORTED)) {
            if (accepted >= 0) {
                ::close(accepted);
            }
            return;
        }
        if (accepted >= 0) {
            clients_.insert(accepted);
            simulation_.tasks().spawn([this, accepted] { serveClient(accepted); });
        }
    }
}

void ControlServer::serveClient(int client) {
    constexpr std::size_t kLongestCommand = 1U << 20U;
    while (const auto request = readBlock(client, kLongestCommand)) {
        const auto words = wire::splitNames(*request);
        CommandResult result{2, "the command is damaged"};
        if (words) {
            result = runCommand(simulation_, *words);
        }
        const std::string answer = std::to_string(result.status) + result.text;
        if (!sendAll(client, wire::encodeFrame(wire::asBytes(answer)))) {
            break;
        }
        if (result.quit) {
            const std::uint64_t one = 1;
            [[maybe_unused]] const ssize_t sent = ::write(quit_.get(), &one, sizeof one);
        }
    }
    const std::scoped_lock lock{mutex_};
    clients_.erase(client);
    ::close(client);
}

}  // namespace quillbox::simulator
