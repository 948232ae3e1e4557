// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"
#include "Wire/Decoded.h"

namespace quillbox::wire {

/// Bytes of the length in front of a property list: lockdown and every service that speaks like it.
inline constexpr std::size_t kFrameHeaderSize = 4;
/// Longest property list taken. A list of all applications of a full device is a few megabytes.
inline constexpr std::size_t kFrameMaxLength = 64U << 20U;

/// The property list with its 4-byte big-endian length in front. `payload` is below 4 GiB.
[[nodiscard]] Bytes encodeFrame(ByteView payload);

/// Reads the length in front of a property list: how many bytes follow. Errors: TooShort,
/// LengthTooSmall (zero: no property list is empty), LengthTooLarge (above `maxLength`).
Decoded<std::size_t> decodeFrameLength(ByteView bytes, std::size_t maxLength = kFrameMaxLength);

}  // namespace quillbox::wire
