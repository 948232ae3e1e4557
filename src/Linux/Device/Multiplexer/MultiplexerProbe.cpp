// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Multiplexer/MultiplexerProbe.h"

#include "Linux/Device/Multiplexer/MultiplexerSocket.h"

#include <poll.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace quillbox {

using namespace device;

namespace {

using Health = MultiplexerProbe::Health;

constexpr std::uint32_t kQuestion = 1;

MultiplexerProbe fail(MultiplexerProbe probe, Health health, std::string reason) {
    probe.health = health;
    probe.reason = std::move(reason);
    return probe;
}

}  // namespace

MultiplexerProbe probeMultiplexer(std::chrono::milliseconds patience) {
    MultiplexerProbe probe;
    probe.address = multiplexerAddress();
    std::string error;
    const auto socket = MultiplexerSocket::connect(probe.address, error);
    if (!socket) {
        return fail(probe, error == kQueueFull ? Health::Silent : Health::NotRunning, error);
    }
    socket->send({{"MessageType", "ListDevices"},
                  {"ClientVersionString", "quillbox"},
                  {"ProgName", "quillbox"},
                  {"kLibUSBMuxVersion", 3}},
                 kQuestion);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (true) {
        const bool goesOn = socket->move();
        while (const auto message = socket->next()) {
            const PropertyValue* list = find(message->values, "DeviceList");
            if (message->tag == kQuestion && list != nullptr && list->array() != nullptr) {
                probe.health = Health::Answers;
                probe.devices = list->array()->size();
                return probe;
            }
            return fail(probe, Health::NotRunning, "it refuses to list its devices");
        }
        if (!goesOn || socket->isOver()) {
            return fail(probe, Health::NotRunning, socket->error());
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return fail(probe, Health::Silent, "no answer");
        }
        pollfd source{socket->descriptor(), socket->events(), 0};
        ::poll(&source, 1, static_cast<int>(left.count()));
    }
}

}  // namespace quillbox
