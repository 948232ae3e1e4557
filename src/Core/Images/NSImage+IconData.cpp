// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Images/NSImage+IconData.h"

#include "Core/Images/IconFamily.h"
#include "Core/Platform/LogLine.h"

#include <cmath>

namespace quillbox {

namespace {

constexpr double kOpaque = 1.0;

Rect wholeOf(const Size& size) {
    return {{0, 0}, size};
}

/// Whole pixels; the box is never larger than an image can be.
struct PixelSize {
    std::int64_t width;
    std::int64_t height;
};

/// The smallest size in the picture's proportions that covers the box; its own where it fits in.
PixelSize sizeCovering(std::int64_t width, std::int64_t height, std::int32_t maxwidth,
                       std::int32_t maxheight) {
    if (width <= maxwidth && height <= maxheight) {
        return {width, height};
    }
    const float widthRatio = static_cast<float>(width) / static_cast<float>(maxwidth);
    const float heightRatio = static_cast<float>(height) / static_cast<float>(maxheight);
    if (widthRatio > heightRatio) {
        return {static_cast<std::int64_t>(static_cast<float>(width) / heightRatio), maxheight};
    }
    return {maxwidth, static_cast<std::int64_t>(static_cast<float>(height) / widthRatio)};
}

Rect rectInPixels(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height) {
    return {{static_cast<double>(x), static_cast<double>(y)},
            {static_cast<double>(width), static_cast<double>(height)}};
}

std::optional<Image> invalid(const Platform& platform) {
    logLine(platform.log, LogLevel::Warning, "Invalid Image");
    return std::nullopt;
}

std::optional<Image> stretchedImage(const Platform& platform, const Image& image, double edge,
                                    std::optional<double> radius) {
    const Imaging& images = platform.images;
    if (!images.isValid(image)) {
        return invalid(platform);
    }
    const Rect square = wholeOf({edge, edge});
    const auto focused = images.lockFocus(square.size);
    if (!focused) {
        return std::nullopt;
    }
    if (radius) {
        focused->addClip(square, *radius, *radius);
    }
    focused->setImageInterpolation(NSImageInterpolationHigh);
    focused->drawImage(image, square, wholeOf(images.size(image)), NSCompositeCopy, kOpaque);
    return focused->unlockFocus();
}

}  // namespace

bool scaleAndSaveAsJPEG(const Platform& platform, const PropertyData& imageData,
                        std::int32_t maxwidth, std::int32_t maxheight, float quality,
                        const std::string& saveTo) {
    constexpr float kUsualQuality = 0.85F;
    const auto fail = [&platform](const auto&... pieces) {
        logLine(platform.log, LogLevel::Warning, pieces...);
        return false;
    };
    const Imaging& images = platform.images;
    const auto bitmap = images.imageWithData(imageData);
    if (!bitmap) {
        return fail("Could not load '", description(PropertyValue(imageData)), "'");
    }
    const float factor = !(quality > 0) ? kUsualQuality : std::min(quality, 1.0F);
    const Size size = images.size(*bitmap);
    const PixelSize scaled =
        sizeCovering(static_cast<std::int64_t>(size.width), static_cast<std::int64_t>(size.height),
                     maxwidth, maxheight);
    const Rect target = rectInPixels(0, 0, scaled.width, scaled.height);
    const auto focused = images.lockFocus(target.size);
    if (!focused) {
        return fail("Could not render image");
    }
    focused->setImageInterpolation(NSImageInterpolationHigh);
    focused->drawImage(*bitmap, target, wholeOf(size), NSCompositeSourceOver, kOpaque);
    const auto cut = focused->bitmapWithFocusedViewRect(rectInPixels(
        (scaled.width - maxwidth) / 2, (scaled.height - maxheight) / 2, maxwidth, maxheight));
    focused->unlockFocus();
    if (!cut) {
        return fail("Could not scale image");
    }
    const auto encoded = images.JPEGRepresentation(*cut, factor);
    if (!encoded) {
        return fail("Could not convert to JPEG");
    }
    return platform.files.writeDataAtomically(saveTo, *encoded);
}

std::optional<Image> roundedCornersImage(const Platform& platform, const Image& image,
                                         double radius) {
    const Imaging& images = platform.images;
    if (!images.isValid(image)) {
        return invalid(platform);
    }
    logLine(platform.log, LogLevel::Info, "roundedCornersImage");
    const Rect whole = wholeOf(images.size(image));
    const auto focused = images.lockFocus(whole.size);
    if (!focused) {
        return std::nullopt;
    }
    focused->setImageInterpolation(NSImageInterpolationHigh);
    focused->addClip(whole, radius, radius);
    focused->drawImage(image, whole, whole, NSCompositeSourceOver, kOpaque);
    return focused->unlockFocus();
}

std::optional<Image> thumbnailImage(const Platform& platform, const Image& image, double edge,
                                    double roundedCorners) {
    return stretchedImage(platform, image, edge, roundedCorners);
}

std::optional<Image> thumbnailImage(const Platform& platform, const Image& image, double edge) {
    return stretchedImage(platform, image, edge, std::nullopt);
}

void drawInRect(const Platform& platform, const Image& image, FocusedImage& focused,
                const Rect& rect, NSCompositingOperation operation, double fraction) {
    const Size size = platform.images.size(image);
    const double imageRatio = size.width / size.height;
    const double rectRatio = rect.size.width / rect.size.height;
    Size drawn;
    if (rectRatio < imageRatio) {
        drawn = {rect.size.width, std::round(rect.size.width * (size.height / size.width))};
    } else {
        drawn = {std::round(rect.size.height * imageRatio), rect.size.height};
    }
    const Point origin{rect.origin.x + (rect.size.width - drawn.width) / 2,
                       rect.origin.y + (rect.size.height - drawn.height) / 2};
    focused.drawImage(image, {origin, drawn}, wholeOf(size), operation, fraction);
}

Image imageToFitSize(const Platform& platform, const Image& image, const Size& size) {
    const auto focused = platform.images.lockFocus(size);
    if (!focused) {
        return {};
    }
    focused->setImageInterpolation(NSImageInterpolationHigh);
    drawInRect(platform, image, *focused, wholeOf(size), NSCompositeSourceOver, kOpaque);
    return focused->unlockFocus();
}

std::optional<PropertyData> icnsDataWithWidth(const Platform& platform, const Image& image,
                                              std::int32_t width) {
    const auto type = iconElementType(width);
    if (!type) {
        logLine(platform.log, LogLevel::Warning, "Invalid icon width: ", width);
        return std::nullopt;
    }
    const Imaging& images = platform.images;
    const auto edge = static_cast<double>(width);
    const Image fitted = imageToFitSize(platform, image, {edge, edge});
    // The payload is what the image's pixels are, so it is encoded as it stands.
    const auto payload = images.PNGRepresentation(fitted);
    return payload ? iconFamily(*type, *payload) : std::nullopt;
}

}  // namespace quillbox
