// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"
#include "Wire/Bytes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quillbox::device {

/// Where the multiplexer listens: as USBMUXD_SOCKET_ADDRESS says in the device library's own
/// syntax, "UNIX:/path" or "host:port", else its usual place.
std::string multiplexerAddress();

/// The reason why connecting failed where as many others already wait to be accepted.
inline constexpr std::string_view kQueueFull = "nobody accepts connections";

/// One connection to the multiplexer that never blocks: whoever owns it polls. One thread.
class MultiplexerSocket {
public:
    /// Begins to connect. Null with a reason where that fails at once.
    static std::unique_ptr<MultiplexerSocket> connect(const std::string& address,
                                                      std::string& error);
    ~MultiplexerSocket();
    MultiplexerSocket(const MultiplexerSocket&) = delete;
    MultiplexerSocket& operator=(const MultiplexerSocket&) = delete;

    int descriptor() const { return descriptor_; }

    /// What to poll for.
    short events() const;

    /// Queues a message.
    void send(const PropertyDictionary& message, std::uint32_t tag);

    /// Moves what can be moved now. False: the connection is over, `error` says why.
    bool move();

    struct Message {
        PropertyDictionary values;
        std::uint32_t tag = 0;
    };

    /// The next whole message that came. Nothing: none yet, or what came is no message and the
    /// connection is over (`isOver`).
    std::optional<Message> next();

    bool isOver() const { return over_; }

    const std::string& error() const { return error_; }

private:
    explicit MultiplexerSocket(int descriptor) : descriptor_{descriptor} {}

    bool fail(std::string reason);
    bool sendQueued();
    bool receiveAll();

    int descriptor_;
    bool connecting_ = true;
    bool over_ = false;
    std::string error_;
    wire::Bytes out_;
    wire::Bytes in_;
};

}  // namespace quillbox::device
