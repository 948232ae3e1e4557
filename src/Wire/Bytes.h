// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Bytes as they travel, and numbers in the two byte orders that the device protocols use.
namespace quillbox::wire {

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

/// The characters of `text` as bytes. The view lives as long as what `text` points at.
[[nodiscard]] inline ByteView asBytes(std::string_view text) {
    return std::as_bytes(std::span{text.data(), text.size()});
}

/// The bytes as characters; NUL bytes are kept. The view lives as long as what `bytes` points at.
[[nodiscard]] inline std::string_view asText(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Appends `more` to `bytes`.
inline void append(Bytes& bytes, ByteView more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// Reads a little-endian number from the first sizeof(Number) bytes of `bytes`, which must hold
/// them.
template <typename Number>
[[nodiscard]] Number loadLittle(ByteView bytes) {
    Number value = 0;
    for (std::size_t i = sizeof(Number); i > 0; --i) {
        value = static_cast<Number>((value << 8U) | std::to_integer<Number>(bytes[i - 1]));
    }
    return value;
}

/// Reads a big-endian number from the first sizeof(Number) bytes of `bytes`, which must hold them.
template <typename Number>
[[nodiscard]] Number loadBig(ByteView bytes) {
    Number value = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        value = static_cast<Number>((value << 8U) | std::to_integer<Number>(bytes[i]));
    }
    return value;
}

/// Writes `value` little-endian to the first sizeof(Number) bytes of `target`, which must hold
/// them.
template <typename Number>
void storeLittle(std::span<std::byte> target, Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        target[i] = static_cast<std::byte>((value >> (8U * i)) & 0xFFU);
    }
}

/// Writes `value` big-endian to the first sizeof(Number) bytes of `target`, which must hold them.
template <typename Number>
void storeBig(std::span<std::byte> target, Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        target[i] = static_cast<std::byte>((value >> (8U * (sizeof(Number) - 1 - i))) & 0xFFU);
    }
}

/// Appends a little-endian number.
template <typename Number>
void appendLittle(Bytes& bytes, Number value) {
    const std::size_t at = bytes.size();
    bytes.resize(at + sizeof(Number));
    storeLittle(std::span{bytes}.subspan(at), value);
}

}  // namespace quillbox::wire
