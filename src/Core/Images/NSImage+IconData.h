// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Platform.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quillbox {

/// Operations on pictures for icons, menus and thumbnails: the image that each works on comes
/// behind the platform and is never changed. Lengths are points. Any thread; none of them waits for
/// a device or throws. A failure is told by the log line that each names, and by no result.

/// Saves a picture as a JPEG of exactly `maxwidth` by `maxheight` pixels: scaled down until it just
/// covers that box, its centre cut out; one that already fits keeps its size and stands in the
/// middle of a black box. A quality of 0 or less becomes 0.85, one above 1 becomes 1. The picture
/// is `imageData`; the image itself plays no part. True when the file was written, as
/// `HostFiles::writeDataAtomically` does. Logs "Could not load '...'", "Could not render image",
/// "Could not scale image" or "Could not convert to JPEG".
bool scaleAndSaveAsJPEG(const Platform& platform, const PropertyData& imageData,
                        std::int32_t maxwidth, std::int32_t maxheight, float quality,
                        const std::string& saveTo);

/// The same picture with rounded corners, transparent beyond them. Logs "roundedCornersImage", or
/// "Invalid Image".
std::optional<Image> roundedCornersImage(const Platform& platform, const Image& image,
                                         double radius);

/// The picture stretched to a square, with rounded corners or without. Logs "Invalid Image".
std::optional<Image> thumbnailImage(const Platform& platform, const Image& image, double edge,
                                    double roundedCorners);
std::optional<Image> thumbnailImage(const Platform& platform, const Image& image, double edge);

/// The data of an icon family ("icns") with one element, which shows the picture as
/// `imageToFitSize` gives it. `width` is 512, 256 or 128 pixels; any other logs "Invalid icon
/// width: %d".
std::optional<PropertyData> icnsDataWithWidth(const Platform& platform, const Image& image,
                                              std::int32_t width);

/// Draws the whole picture as large as it fits into a rectangle, in its middle; the longer side
/// keeps its fraction, the other is rounded to whole points.
void drawInRect(const Platform& platform, const Image& image, FocusedImage& focused,
                const Rect& rect, NSCompositingOperation operation, double fraction);

/// A new image of exactly that size which shows the picture by `drawInRect`, transparent around it.
/// An image without content when no image of that size can be made.
Image imageToFitSize(const Platform& platform, const Image& image, const Size& size);

}  // namespace quillbox
