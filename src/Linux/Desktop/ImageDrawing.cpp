// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/ImageDrawing.h"

#include <QPainterPath>

#include <cmath>

namespace quillbox::desktop {

namespace {

/// The part of a picture's pixels that a rectangle in points covers.
QRectF pixelsOf(const Picture& picture, const Rect& rect) {
    const double x = picture.pixels().width() / picture.size().width;
    const double y = picture.pixels().height() / picture.size().height;
    return {rect.origin.x * x, (picture.size().height - rect.origin.y - rect.size.height) * y,
            rect.size.width * x, rect.size.height * y};
}

bool hasArea(const Rect& rect) {
    return std::isfinite(rect.origin.x) && std::isfinite(rect.origin.y) &&
           std::isfinite(rect.size.width) && std::isfinite(rect.size.height) &&
           rect.size.width > 0 && rect.size.height > 0;
}

/// The painter's own smooth drawing looks at four pixels only; a picture that shrinks is averaged
/// down first.
QImage shrunk(const QImage& pixels, const QRectF& source, const QRectF& target) {
    const QRect part = source.toAlignedRect() & pixels.rect();
    const QImage cut = part == pixels.rect() ? pixels : pixels.copy(part);
    const QSize size(std::max(1, static_cast<int>(std::ceil(target.width()))),
                     std::max(1, static_cast<int>(std::ceil(target.height()))));
    return cut.scaled(size.boundedTo(cut.size()), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

bool isWhole(const QRectF& rect) {
    return rect == QRectF(rect.toRect());
}

/// The painter moves an image that keeps its size to whole pixels; one that is stretched ever so
/// little is drawn where it is to be.
QRectF exactly(const QRectF& target) {
    constexpr double kLeast = 1e-6;
    return isWhole(target) ? target : target.adjusted(0, 0, kLeast, kLeast);
}

}  // namespace

std::unique_ptr<PaintedImage> PaintedImage::make(const Size& size, Resolve resolve) {
    if (!hasArea({{}, size})) {
        return nullptr;
    }
    QImage canvas(
        pixelsWithin({std::ceil(size.width), std::ceil(size.height)}, Imaging::kMostPixelsKept),
        QImage::Format_ARGB32_Premultiplied);
    if (canvas.isNull()) {
        return nullptr;
    }
    canvas.fill(Qt::transparent);
    return std::unique_ptr<PaintedImage>(
        new PaintedImage(std::move(canvas), size, std::move(resolve)));
}

PaintedImage::PaintedImage(QImage canvas, const Size& size, Resolve resolve)
    : canvas_(std::move(canvas)), size_(size), resolve_(std::move(resolve)), painter_(&canvas_) {
    painter_.setRenderHint(QPainter::Antialiasing);
}

QRectF PaintedImage::inPixels(const Rect& rect) const {
    const double x = canvas_.width() / size_.width;
    const double y = canvas_.height() / size_.height;
    return {rect.origin.x * x, (size_.height - rect.origin.y - rect.size.height) * y,
            rect.size.width * x, rect.size.height * y};
}

void PaintedImage::setImageInterpolation(NSImageInterpolation level) {
    isInterpolationHigh_ = level == NSImageInterpolationHigh;
    painter_.setRenderHint(QPainter::SmoothPixmapTransform, isInterpolationHigh_);
}

void PaintedImage::addClip(const Rect& rect, double xRadius, double yRadius) {
    const QRectF pixels = inPixels(rect);
    QPainterPath path;
    path.addRoundedRect(pixels, xRadius * canvas_.width() / size_.width,
                        yRadius * canvas_.height() / size_.height);
    painter_.setClipPath(path, painter_.hasClipping() ? Qt::IntersectClip : Qt::ReplaceClip);
}

void PaintedImage::drawImage(const Image& image, const Rect& inRect, const Rect& fromRect,
                             NSCompositingOperation operation, double fraction) {
    const Image resolved = resolve_(image);
    const Picture* picture = pictureOf(resolved);
    if (picture == nullptr || !hasArea(inRect) || !hasArea(fromRect)) {
        return;
    }
    const QRectF source = pixelsOf(*picture, fromRect);
    const QRectF target = inPixels(inRect);
    painter_.setOpacity(fraction);
    painter_.setCompositionMode(operation == NSCompositeCopy
                                    ? QPainter::CompositionMode_Source
                                    : QPainter::CompositionMode_SourceOver);
    if (isInterpolationHigh_ &&
        (target.width() < source.width() || target.height() < source.height())) {
        const QImage smaller = shrunk(picture->pixels(), source, target);
        painter_.drawImage(exactly(target), smaller, QRectF(smaller.rect()));
    } else {
        painter_.drawImage(exactly(target), picture->pixels(), source);
    }
}

std::optional<Image> PaintedImage::bitmapWithFocusedViewRect(const Rect& rect) {
    const Rect whole{{std::trunc(rect.origin.x), std::trunc(rect.origin.y)},
                     {std::trunc(rect.size.width), std::trunc(rect.size.height)}};
    if (!hasArea(whole) || whole.size.width * whole.size.height > Imaging::kMostPixelsKept) {
        return std::nullopt;
    }
    QImage grabbed(static_cast<int>(whole.size.width), static_cast<int>(whole.size.height),
                   QImage::Format_ARGB32_Premultiplied);
    if (grabbed.isNull()) {
        return std::nullopt;
    }
    grabbed.fill(Qt::transparent);
    QPainter painter(&grabbed);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // The whole drawing, laid so that the rectangle's corner comes to lie in this one's.
    painter.drawImage(QRectF(-whole.origin.x, whole.origin.y + whole.size.height - size_.height,
                             size_.width, size_.height),
                      canvas_, QRectF(canvas_.rect()));
    painter.end();
    return Image{{}, std::make_shared<Picture>(std::move(grabbed), whole.size)};
}

Image PaintedImage::unlockFocus() {
    painter_.end();
    return Image{{}, std::make_shared<Picture>(std::move(canvas_), size_)};
}

}  // namespace quillbox::desktop
