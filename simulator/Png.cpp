// SPDX-License-Identifier: GPL-3.0-or-later
#include "Pictures.h"

#include <algorithm>

namespace quillbox::simulator {
namespace {

using wire::Bytes;

std::uint32_t crc32(wire::ByteView bytes) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const std::byte byte : bytes) {
        crc ^= std::to_integer<std::uint32_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

std::uint32_t adler32(wire::ByteView bytes) {
    constexpr std::uint32_t kModulus = 65521;
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (const std::byte byte : bytes) {
        low = (low + std::to_integer<std::uint32_t>(byte)) % kModulus;
        high = (high + low) % kModulus;
    }
    return (high << 16U) | low;
}

void appendBig(Bytes& bytes, std::uint32_t value) {
    const std::size_t at = bytes.size();
    bytes.resize(at + sizeof value);
    wire::storeBig(std::span{bytes}.subspan(at), value);
}

void appendChunk(Bytes& file, std::string_view type, wire::ByteView content) {
    appendBig(file, static_cast<std::uint32_t>(content.size()));
    Bytes checked;
    wire::append(checked, wire::asBytes(type));
    wire::append(checked, content);
    wire::append(file, checked);
    appendBig(file, crc32(checked));
}

/// A zlib stream of stored blocks: no compression, as the pictures are small.
Bytes store(const Bytes& raw) {
    Bytes stream{std::byte{0x78}, std::byte{0x01}};
    constexpr std::size_t kMost = 65535;
    std::size_t offset = 0;
    do {
        const std::size_t count = std::min(kMost, raw.size() - offset);
        const bool last = offset + count == raw.size();
        stream.push_back(last ? std::byte{1} : std::byte{0});
        wire::appendLittle(stream, static_cast<std::uint16_t>(count));
        wire::appendLittle(stream, static_cast<std::uint16_t>(~count));
        wire::append(stream, wire::ByteView{raw}.subspan(offset, count));
        offset += count;
    } while (offset < raw.size());
    appendBig(stream, adler32(raw));
    return stream;
}

}  // namespace

Bytes encodePng(const Picture& picture) {
    Bytes header;
    appendBig(header, picture.width);
    appendBig(header, picture.height);
    // Eight bits a sample, colour, the only compression, filtering and no interlacing.
    for (const int value : {8, 2, 0, 0, 0}) {
        header.push_back(static_cast<std::byte>(value));
    }
    Bytes rows;
    const std::span pixels = std::as_bytes(std::span{picture.pixels});
    const std::size_t stride = std::size_t{picture.width} * 3;
    for (unsigned y = 0; y < picture.height; ++y) {
        rows.push_back(std::byte{0});
        wire::append(rows, pixels.subspan(y * stride, stride));
    }
    Bytes file;
    wire::append(file, wire::asBytes("\x89PNG\r\n\x1a\n"));
    appendChunk(file, "IHDR", header);
    appendChunk(file, "IDAT", store(rows));
    appendChunk(file, "IEND", {});
    return file;
}

}  // namespace quillbox::simulator
