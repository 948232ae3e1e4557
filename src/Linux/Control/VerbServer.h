// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/Protocol.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace quillbox::control {

/// Serves verbs at a socket that only this user can open, on a thread of its own: whatever a client
/// does or leaves undone, only its own connection notices. Made and destroyed on one thread.
class VerbServer {
public:
    /// Answers one request; for any thread, also after the server's end. Later calls are ignored.
    using Reply = std::function<void(Answer)>;
    /// Called on the server's thread for every request; must not block.
    using Handler = std::function<void(Request, Reply)>;

    struct Limits {
        /// For a whole request to come, and for an answer to be taken.
        std::chrono::milliseconds transfer{5'000};
        /// For an answer to be given.
        std::chrono::milliseconds work{90'000};
    };

    /// Listens at `path`, in place of a socket that a dead program left there. Null with a reason.
    static std::unique_ptr<VerbServer> start(const std::string& path, Handler handler,
                                             const Limits& limits, std::string* error);
    /// Connections that still wait for an answer are closed, and the socket is removed.
    ~VerbServer();
    VerbServer(const VerbServer&) = delete;
    VerbServer& operator=(const VerbServer&) = delete;

private:
    class Thread;
    explicit VerbServer(std::unique_ptr<Thread> thread);
    std::unique_ptr<Thread> thread_;
};

}  // namespace quillbox::control
