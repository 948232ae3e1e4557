// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/MuxHeader.h"

namespace quillbox::wire {

std::array<std::byte, kMuxHeaderSize> encodeMuxHeader(const MuxHeader& header) {
    std::array<std::byte, kMuxHeaderSize> bytes{};
    const std::span all{bytes};
    storeLittle(all, header.length);
    storeLittle(all.subspan(4), header.version);
    storeLittle(all.subspan(8), header.type);
    storeLittle(all.subspan(12), header.tag);
    return bytes;
}

MuxHeader makeMuxHeader(std::size_t payloadLength, std::uint32_t tag) {
    MuxHeader header;
    header.length = static_cast<std::uint32_t>(kMuxHeaderSize + payloadLength);
    header.tag = tag;
    return header;
}

Decoded<MuxHeader> decodeMuxHeader(ByteView bytes) {
    if (bytes.size() < kMuxHeaderSize) {
        return WireError::TooShort;
    }
    MuxHeader header;
    header.length = loadLittle<std::uint32_t>(bytes);
    header.version = loadLittle<std::uint32_t>(bytes.subspan(4));
    header.type = loadLittle<std::uint32_t>(bytes.subspan(8));
    header.tag = loadLittle<std::uint32_t>(bytes.subspan(12));
    if (header.length < kMuxHeaderSize) {
        return WireError::LengthTooSmall;
    }
    if (header.length > kMuxMaxLength) {
        return WireError::LengthTooLarge;
    }
    if (header.version != kMuxVersion) {
        return WireError::WrongVersion;
    }
    return header;
}

}  // namespace quillbox::wire
