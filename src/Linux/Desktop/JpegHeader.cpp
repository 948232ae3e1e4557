// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/JpegHeader.h"

namespace quillbox::desktop {

namespace {

/// Markers of the format (ITU-T T.81, table B.1).
constexpr std::uint8_t kMarker = 0xFF;
constexpr std::uint8_t kFirstFrame = 0xC0;
constexpr std::uint8_t kProgressiveFrame = 0xC2;
constexpr std::uint8_t kHuffmanTables = 0xC4;
constexpr std::uint8_t kExtensions = 0xC8;
constexpr std::uint8_t kArithmeticTables = 0xCC;
constexpr std::uint8_t kLastFrame = 0xCF;
constexpr std::uint8_t kScan = 0xDA;

bool isFrame(std::uint8_t marker) {
    return marker >= kFirstFrame && marker <= kLastFrame && marker != kHuffmanTables &&
           marker != kExtensions && marker != kArithmeticTables;
}

/// Frames of the progressive kind have the second of the lowest bits set.
bool isProgressive(std::uint8_t marker) {
    return (marker & 3U) == (kProgressiveFrame & 3U);
}

}  // namespace

JpegFrame jpegFrame(std::span<const std::uint8_t> data) {
    constexpr std::size_t kStartOfImage = 2;
    constexpr std::size_t kComponentCount = 9;  ///< from the marker of a frame header
    for (std::size_t at = kStartOfImage; at + 4 <= data.size();) {
        if (data[at] != kMarker) {
            break;
        }
        const std::uint8_t marker = data[at + 1];
        if (marker == kMarker) {  // a fill byte
            ++at;
            continue;
        }
        if (isFrame(marker) && at + kComponentCount < data.size()) {
            return {isProgressive(marker), data[at + kComponentCount]};
        }
        if (marker == kScan) {
            break;
        }
        at += 2 + (static_cast<std::size_t>(data[at + 2]) << 8U) + data[at + 3];
    }
    return {};
}

}  // namespace quillbox::desktop
