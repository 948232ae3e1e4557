// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/Signals.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

namespace quillbox::host {

namespace {

constexpr std::array kCaught{SIGINT, SIGTERM, SIGHUP, SIGPIPE};
// Stored as descriptor + 1, so that zero means free.
std::array<std::atomic<int>, 4> receivers{};
std::array<struct sigaction, kCaught.size()> formerActions{};

void passOn(int signal) {
    const int savedError = errno;
    const auto byte = static_cast<unsigned char>(signal);
    for (const auto& receiver : receivers) {
        if (const int slot = receiver.load(std::memory_order_relaxed); slot != 0) {
            // A full pipe already holds a signal: nothing is lost.
            [[maybe_unused]] const auto written = ::write(slot - 1, &byte, 1);
        }
    }
    errno = savedError;
}

void doNothing(int) {}

}  // namespace

Signals::Signals() {
    for (std::size_t i = 0; i < kCaught.size(); ++i) {
        ::sigaction(kCaught[i], nullptr, &formerActions[i]);
        // A program started to outlive its terminal (nohup) stays deaf to the hang-up.
        if (kCaught[i] == SIGHUP && formerActions[i].sa_handler == SIG_IGN) {
            continue;
        }
        struct sigaction action = {};
        action.sa_handler = kCaught[i] == SIGPIPE ? doNothing : passOn;
        action.sa_flags = SA_RESTART;
        sigfillset(&action.sa_mask);
        ::sigaction(kCaught[i], &action, nullptr);
    }
}

Signals::~Signals() {
    for (std::size_t i = 0; i < kCaught.size(); ++i) {
        ::sigaction(kCaught[i], &formerActions[i], nullptr);
    }
}

bool Signals::addReceiver(int descriptor) {
    for (auto& receiver : receivers) {
        int free = 0;
        if (receiver.compare_exchange_strong(free, descriptor + 1)) {
            return true;
        }
    }
    return false;
}

void Signals::removeReceiver(int descriptor) {
    for (auto& receiver : receivers) {
        int taken = descriptor + 1;
        receiver.compare_exchange_strong(taken, 0);
    }
}

}  // namespace quillbox::host
