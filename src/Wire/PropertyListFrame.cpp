// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/PropertyListFrame.h"

namespace quillbox::wire {

Bytes encodeFrame(ByteView payload) {
    Bytes frame(kFrameHeaderSize);
    frame.reserve(kFrameHeaderSize + payload.size());
    storeBig(std::span{frame}, static_cast<std::uint32_t>(payload.size()));
    append(frame, payload);
    return frame;
}

Decoded<std::size_t> decodeFrameLength(ByteView bytes, std::size_t maxLength) {
    if (bytes.size() < kFrameHeaderSize) {
        return WireError::TooShort;
    }
    const std::size_t length = loadBig<std::uint32_t>(bytes);
    if (length == 0) {
        return WireError::LengthTooSmall;
    }
    if (length > maxLength) {
        return WireError::LengthTooLarge;
    }
    return length;
}

}  // namespace quillbox::wire
