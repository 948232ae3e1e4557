// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcPacket.h"

#include <algorithm>

namespace quillbox::wire {

std::array<std::byte, kAfcHeaderSize> encodeAfcHeader(const AfcHeader& header) {
    std::array<std::byte, kAfcHeaderSize> bytes{};
    const std::span all{bytes};
    std::ranges::copy(asBytes(kAfcMagic), bytes.begin());
    storeLittle(all.subspan(8), header.entireLength);
    storeLittle(all.subspan(16), header.thisLength);
    storeLittle(all.subspan(24), header.packetNumber);
    storeLittle(all.subspan(32), static_cast<std::uint64_t>(header.operation));
    return bytes;
}

Decoded<AfcHeader> decodeAfcHeader(ByteView bytes, const AfcLimits& limits) {
    if (bytes.size() < kAfcHeaderSize) {
        return WireError::TooShort;
    }
    if (asText(bytes.first(kAfcMagic.size())) != kAfcMagic) {
        return WireError::WrongMagic;
    }
    AfcHeader header;
    header.entireLength = loadLittle<std::uint64_t>(bytes.subspan(8));
    header.thisLength = loadLittle<std::uint64_t>(bytes.subspan(16));
    header.packetNumber = loadLittle<std::uint64_t>(bytes.subspan(24));
    header.operation = static_cast<AfcOperation>(loadLittle<std::uint64_t>(bytes.subspan(32)));
    if (header.thisLength < kAfcHeaderSize) {
        return WireError::LengthTooSmall;
    }
    if (header.entireLength < header.thisLength) {
        return WireError::LengthsDisagree;
    }
    if (header.parameterLength() > limits.maxParameters || header.dataLength() > limits.maxData) {
        return WireError::LengthTooLarge;
    }
    return header;
}

void appendAfcHead(Bytes& bytes, std::uint64_t packetNumber, AfcOperation operation,
                   ByteView parameters, std::uint64_t dataLength) {
    AfcHeader header;
    header.thisLength = kAfcHeaderSize + parameters.size();
    header.entireLength = header.thisLength + dataLength;
    header.packetNumber = packetNumber;
    header.operation = operation;
    append(bytes, encodeAfcHeader(header));
    append(bytes, parameters);
}

Bytes makeAfcHead(std::uint64_t packetNumber, AfcOperation operation, ByteView parameters,
                  std::uint64_t dataLength) {
    Bytes head;
    head.reserve(kAfcHeaderSize + parameters.size());
    appendAfcHead(head, packetNumber, operation, parameters, dataLength);
    return head;
}

Bytes makeAfcPacket(std::uint64_t packetNumber, AfcOperation operation, ByteView parameters,
                    ByteView data) {
    Bytes packet = makeAfcHead(packetNumber, operation, parameters, data.size());
    append(packet, data);
    return packet;
}

}  // namespace quillbox::wire
