// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Desktop/Picture.h"

#include <QByteArray>

#include <memory>

namespace quillbox::desktop {

/// 16,384 by 16,384.
inline constexpr double kMostPixelsDecoded = 268'435'456;
inline constexpr double kMostBytesDecoding = 268'435'456;

/// Decodes a picture, held with at most `Imaging::kMostPixelsKept` pixels; null for what does not
/// decode. Any thread.
///
/// Knows JPEG, PNG, GIF (the first picture) and BMP, and turns embedded colour profiles into sRGB.
/// A picture does not decode when it has more than `kMostPixelsDecoded` pixels or takes more than
/// `kMostBytesDecoding` bytes on the way to its scaled size: baseline JPEG and plain 8-bit PNG are
/// scaled while they are read and take little, progressive JPEG, interlaced or 16-bit PNG, GIF and
/// BMP are held whole.
std::shared_ptr<const Picture> decodedPicture(const QByteArray& data);

}  // namespace quillbox::desktop
