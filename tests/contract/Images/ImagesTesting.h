// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Images/NSImage+IconData.h"
#include "Fakes/World.h"
#include "Linux/Desktop/Images.h"
#include "Linux/Desktop/Picture.h"

#include <QBuffer>
#include <QImage>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace quillbox::desktop {

/// The core's world with real imaging.
class ImagesTest : public testing::Test {
protected:
    static PropertyData encoded(const QImage& picture, const char* format) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        EXPECT_TRUE(picture.save(&buffer, format));
        return {bytes.begin(), bytes.end()};
    }

    Image imageOf(const QImage& picture) {
        return images.imageWithData(encoded(picture, "png")).value_or(Image{});
    }

    /// A picture whose pixels a function of column and row (from the top) gives.
    static QImage painted(int width, int height, const std::function<QColor(int, int)>& colour) {
        QImage picture(width, height, QImage::Format_ARGB32);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                picture.setPixelColor(x, y, colour(x, y));
            }
        }
        return picture;
    }

    static QImage plain(int width, int height, const QColor& colour) {
        QImage picture(width, height, QImage::Format_ARGB32);
        picture.fill(colour);
        return picture;
    }

    static QImage pixels(const Image& image) {
        const Picture* picture = pictureOf(image);
        return picture != nullptr ? picture->pixels().convertToFormat(QImage::Format_ARGB32)
                                  : QImage();
    }

    fakes::FakeBundle bundle;
    Images images{bundle};
    fakes::World world{images};
};

/// How far two colours are apart in the channel that differs most.
inline int distance(const QColor& a, const QColor& b) {
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                     std::abs(a.blue() - b.blue())});
}

/// A grey JPEG without detail: one level (0 to 255) for each block of eight by eight pixels,
/// baseline or progressive. Takes next to no memory, whatever its size.
PropertyData blockJpeg(int width, int height, bool isProgressive,
                       const std::function<int(int, int)>& levelOfBlock);

}  // namespace quillbox::desktop
