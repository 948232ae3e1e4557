// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Image.h"

#include <QImage>

#include <cmath>
#include <utility>

namespace quillbox::desktop {

/// The content of an image of this back end: pixels (`Format_RGB32` or
/// `Format_ARGB32_Premultiplied`) and the size in points that they stand for, which is larger for a
/// picture that is held with fewer pixels than it has.
class Picture final : public ImageContent {
public:
    Picture(QImage pixels, const Size& size) : pixels_(std::move(pixels)), size_(size) {}

    const QImage& pixels() const { return pixels_; }

    const Size& size() const { return size_; }

private:
    QImage pixels_;
    Size size_;
};

/// Null for an image without content of this back end.
inline const Picture* pictureOf(const Image& image) {
    return dynamic_cast<const Picture*>(image.content.get());
}

/// The largest number of whole pixels, at most `most` in all, in about the proportions of a size of
/// at least one pixel.
inline QSize pixelsWithin(const Size& size, double most) {
    const double area = size.width * size.height;
    const double shrink = area > most ? std::sqrt(most / area) : 1.0;
    const double width = std::max(1.0, std::floor(std::min(size.width * shrink, most)));
    const double height = std::max(1.0, std::floor(std::min(size.height * shrink, most / width)));
    return {static_cast<int>(width), static_cast<int>(height)};
}

}  // namespace quillbox::desktop
