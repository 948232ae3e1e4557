// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Imaging.h"
#include "Linux/Desktop/Picture.h"

#include <QImage>
#include <QPainter>

namespace quillbox::desktop {

/// A new image under a painter. A size beyond the pixels that are kept is drawn smaller.
class PaintedImage final : public FocusedImage {
public:
    /// Gives an image without its resource its content; called on the drawing thread.
    using Resolve = std::function<Image(const Image&)>;

    /// Null for a size without an area, or one that is no number.
    static std::unique_ptr<PaintedImage> make(const Size& size, Resolve resolve);

    void setImageInterpolation(NSImageInterpolation level) override;
    void addClip(const Rect& rect, double xRadius, double yRadius) override;
    void drawImage(const Image& image, const Rect& inRect, const Rect& fromRect,
                   NSCompositingOperation operation, double fraction) override;
    std::optional<Image> bitmapWithFocusedViewRect(const Rect& rect) override;
    Image unlockFocus() override;

private:
    PaintedImage(QImage canvas, const Size& size, Resolve resolve);

    /// A rectangle in points as one in pixels, whose rows count from the top.
    QRectF inPixels(const Rect& rect) const;

    QImage canvas_;
    Size size_;
    Resolve resolve_;
    bool isInterpolationHigh_ = false;
    QPainter painter_;
};

}  // namespace quillbox::desktop
