// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillbox::desktop {

/// Whether a JPEG keeps all its coefficients in memory while it is decoded: progressive ones do,
/// and those whose components come one after the other.
struct JpegFrame {
    bool isProgressive = false;
    unsigned components = 0;  ///< 0 when no frame header was found
};

/// Reads the markers up to the frame header. Takes any bytes.
JpegFrame jpegFrame(std::span<const std::uint8_t> data);

}  // namespace quillbox::desktop
