// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Options.h"
#include "Linux/Device/Lockdown/PlatformLink.h"
#include "Linux/Device/Multiplexer/DeviceRoster.h"
#include "Linux/Device/Multiplexer/MultiplexerSocket.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace quillbox::device {

/// Listens to the multiplexer on a thread of its own and feeds the roster there.
///
/// The device library's listener is not used: it cannot tell a multiplexer that accepts and never
/// answers from one that has no news, drops what is said about a number before that number is
/// announced, and goes round in circles on a socket that closes.
class MultiplexerListener {
public:
    MultiplexerListener(RosterEvents& events, std::shared_ptr<PlatformLink> platform,
                        const DeviceOptions& options);
    /// Ends the thread.
    ~MultiplexerListener();
    MultiplexerListener(const MultiplexerListener&) = delete;
    MultiplexerListener& operator=(const MultiplexerListener&) = delete;

    void start();
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    enum class Health { Unknown, Answers, NotRunning, Silent };

    /// One question to the multiplexer and the time until which it must be answered.
    struct Question {
        std::unique_ptr<MultiplexerSocket> socket;
        Clock::time_point deadline;
        bool answered = false;
    };

    void run();
    void poll();
    Clock::time_point nextEvent() const;
    void startListening();
    void startCheck();
    void serveListening();
    void serveCheck();
    void listeningEnded(Health health, const std::string& reason);
    void handle(const MultiplexerSocket::Message& message);
    void setHealth(Health health, const std::string& reason);

    const std::shared_ptr<PlatformLink> platform_;
    const DeviceOptions options_;
    const std::string address_;
    DeviceRoster roster_;
    std::thread thread_;
    int wake_ = -1;
    std::atomic<bool> stopping_{false};

    Question listening_;
    Question check_;
    Clock::time_point nextTry_{};
    Clock::time_point nextCheck_{};
    std::chrono::milliseconds pause_{};
    Health health_ = Health::Unknown;
};

}  // namespace quillbox::device
