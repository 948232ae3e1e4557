// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace quillbox {

/// What one question to the multiplexer showed.
struct MultiplexerProbe {
    enum class Health {
        Answers,     ///< it told its devices
        NotRunning,  ///< nobody listens at the address, or whoever does is no multiplexer
        Silent,      ///< the connection is accepted, or waits for that, and no answer comes
    };

    Health health = Health::NotRunning;
    std::string address;      ///< where it was asked, as USBMUXD_SOCKET_ADDRESS would say it
    std::string reason;       ///< why it does not answer; empty where it does
    std::size_t devices = 0;  ///< how many it lists; one by cable and network counts twice
};

/// Asks the multiplexer for its list of devices, as the program itself reaches it. Blocks for
/// `patience` at most. Any thread.
MultiplexerProbe probeMultiplexer(std::chrono::milliseconds patience);

}  // namespace quillbox
