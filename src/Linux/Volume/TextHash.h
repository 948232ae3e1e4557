// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

namespace quillbox::volume {

/// A number for a text that only who knows the seed can foresee; not for secrets. FNV-1a with a
/// seed and a final mix: short, and even over all 64 bits.
inline std::uint64_t textHash(std::uint64_t seed, std::string_view text) {
    std::uint64_t value = 0xcbf29ce484222325ULL ^ seed;
    for (const char character : text) {
        value ^= static_cast<unsigned char>(character);
        value *= 0x100000001b3ULL;
    }
    value ^= value >> 33U;
    value *= 0xff51afd7ed558ccdULL;
    value ^= value >> 33U;
    value *= 0xc4ceb9fe1a85ec53ULL;
    value ^= value >> 33U;
    return value;
}

}  // namespace quillbox::volume
