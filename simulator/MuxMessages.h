// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Faults.h"
#include "PropertyList.h"
#include "Wire/MuxHeader.h"

#include <optional>

namespace quillbox::simulator {

/// A message of the multiplexer's client.
struct MuxMessage {
    std::uint32_t tag = 0;
    PropertyList content;
};

/// Reads the next message from a blocking socket; nothing when the connection has ended or what
/// came is no message of this protocol.
[[nodiscard]] std::optional<MuxMessage> readMuxMessage(int socket);

/// A message as it travels.
[[nodiscard]] wire::Bytes encodeMuxMessage(std::uint32_t tag, const PropertyList& content);

/// The same, spoiled in the given way.
[[nodiscard]] wire::Bytes spoilMuxMessage(std::uint32_t tag, const PropertyList& content,
                                          Malformed variant);

/// Sends without waiting: a client that does not read what it asked for is cut off. False when it
/// could not take all.
bool sendAtOnce(int socket, wire::ByteView bytes);

}  // namespace quillbox::simulator
