// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/AfcProtocol.h"
#include "Wire/Bytes.h"
#include "Wire/Decoded.h"

#include <array>

namespace quillbox::wire {

/// Bytes of an AFC header on the wire: the signature and four little-endian 64-bit words.
inline constexpr std::size_t kAfcHeaderSize = 40;
/// What every AFC packet begins with.
inline constexpr std::string_view kAfcMagic = "CFA6LPAA";

/// The largest packet that a side is ready to take. A header that promises more is refused before
/// anything is allocated for it.
struct AfcLimits {
    std::uint64_t maxParameters = 64U << 10U;  ///< bytes between the header and the bulk data
    std::uint64_t maxData = 64U << 20U;        ///< bytes of bulk data
};

/// The fixed part of an AFC packet. A packet is header, parameters, bulk data.
struct AfcHeader {
    std::uint64_t entireLength = kAfcHeaderSize;    ///< header, parameters and bulk data, in bytes
    std::uint64_t thisLength = kAfcHeaderSize;      ///< header and parameters, in bytes
    std::uint64_t packetNumber = 0;                 ///< an answer repeats the number of its request
    AfcOperation operation = AfcOperation::Status;  ///< any number may arrive here

    [[nodiscard]] std::uint64_t parameterLength() const { return thisLength - kAfcHeaderSize; }

    [[nodiscard]] std::uint64_t dataLength() const { return entireLength - thisLength; }
};

/// The header as it travels.
[[nodiscard]] std::array<std::byte, kAfcHeaderSize> encodeAfcHeader(const AfcHeader& header);

/// Reads a header. Errors: TooShort, WrongMagic, LengthTooSmall (thisLength below the header's own
/// size), LengthsDisagree (thisLength above entireLength), LengthTooLarge (above `limits`). After
/// success the lengths can be subtracted and allocated without further thought.
Decoded<AfcHeader> decodeAfcHeader(ByteView bytes, const AfcLimits& limits = {});

/// Appends header and parameters of a packet whose bulk data, `dataLength` bytes, is sent behind
/// it.
void appendAfcHead(Bytes& bytes, std::uint64_t packetNumber, AfcOperation operation,
                   ByteView parameters, std::uint64_t dataLength = 0);

/// Header and parameters of a packet whose bulk data, `dataLength` bytes, is sent behind it.
[[nodiscard]] Bytes makeAfcHead(std::uint64_t packetNumber, AfcOperation operation,
                                ByteView parameters, std::uint64_t dataLength = 0);

/// A whole packet.
[[nodiscard]] Bytes makeAfcPacket(std::uint64_t packetNumber, AfcOperation operation,
                                  ByteView parameters, ByteView data = {});

}  // namespace quillbox::wire
