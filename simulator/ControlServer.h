// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Commands.h"

#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

namespace quillbox::simulator {

/// Takes commands on a UNIX socket of its own, so that they also come through while the multiplexer
/// is stopped or hangs. A request is the command's words, each with a NUL behind it, after their
/// length (4 bytes, big-endian); an answer the exit status as a digit and the text, after theirs.
class ControlServer {
public:
    /// Listens from here on. Throws std::runtime_error when it cannot.
    ControlServer(Simulation& simulation, std::filesystem::path socket);
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;
    ~ControlServer();

    /// A descriptor that becomes readable when a client has asked the program to end.
    [[nodiscard]] int quitEvent() const { return quit_.get(); }

    /// Takes no further command and removes the socket. Commands that run go on.
    void stop();

private:
    void acceptClients();
    void serveClient(int client);

    Simulation& simulation_;
    std::filesystem::path path_;
    UniqueFd listener_;
    UniqueFd quit_;
    std::thread acceptor_;
    std::mutex mutex_;
    std::set<int> clients_;
    bool stopped_ = false;
};

}  // namespace quillbox::simulator
