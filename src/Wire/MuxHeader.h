// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"
#include "Wire/Decoded.h"

#include <array>

namespace quillbox::wire {

/// Bytes of a multiplexer header on the wire.
inline constexpr std::size_t kMuxHeaderSize = 16;
/// The protocol version that carries property lists.
inline constexpr std::uint32_t kMuxVersion = 1;
/// The message type of a property list.
inline constexpr std::uint32_t kMuxTypePropertyList = 8;
/// Tag of messages that nobody asked for (attached, detached, paired).
inline constexpr std::uint32_t kMuxEventTag = 0;
/// Longest message taken, header included. Pairing records and device lists are a few kilobytes.
inline constexpr std::uint32_t kMuxMaxLength = 16U << 20U;

/// The 16 bytes before every message of the multiplexer, both ways: four little-endian 32-bit
/// words.
struct MuxHeader {
    std::uint32_t length = kMuxHeaderSize;  ///< of the whole message in bytes, this header included
    std::uint32_t version = kMuxVersion;
    std::uint32_t type = kMuxTypePropertyList;
    std::uint32_t tag = 0;  ///< an answer repeats the tag of its request

    /// Bytes that follow the header.
    [[nodiscard]] std::size_t payloadLength() const { return length - kMuxHeaderSize; }
};

/// The header as it travels.
[[nodiscard]] std::array<std::byte, kMuxHeaderSize> encodeMuxHeader(const MuxHeader& header);

/// Header of a property list message with `payloadLength` bytes behind it (below kMuxMaxLength).
[[nodiscard]] MuxHeader makeMuxHeader(std::size_t payloadLength, std::uint32_t tag);

/// Reads a header. Errors: TooShort, LengthTooSmall (less than the header), LengthTooLarge (above
/// kMuxMaxLength), WrongVersion. The type is the caller's to judge.
Decoded<MuxHeader> decodeMuxHeader(ByteView bytes);

}  // namespace quillbox::wire
