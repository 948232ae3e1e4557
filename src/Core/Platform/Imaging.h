// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Image.h"
#include "Core/Platform/PropertyList.h"

#include <memory>
#include <optional>
#include <string>

namespace quillbox {

/// A new image that is being drawn, one pixel a point, transparent at first. Belongs to the thread
/// that asked for it.
class FocusedImage {
public:
    FocusedImage() = default;
    FocusedImage(const FocusedImage&) = delete;
    FocusedImage& operator=(const FocusedImage&) = delete;
    virtual ~FocusedImage() = default;

    virtual void setImageInterpolation(NSImageInterpolation level) = 0;
    /// Confines what is drawn from now on to a rectangle with rounded corners, softly at their
    /// edge.
    virtual void addClip(const Rect& rect, double xRadius, double yRadius) = 0;
    /// Draws the part `fromRect` of an image, stretched to `inRect`, with an opacity of 0 to 1. An
    /// image that is not valid draws nothing.
    virtual void drawImage(const Image& image, const Rect& inRect, const Rect& fromRect,
                           NSCompositingOperation operation, double fraction) = 0;
    /// What was drawn within a rectangle of whole points, as an image of exactly its size:
    /// transparent where the rectangle reaches outside. None when it cannot be had.
    virtual std::optional<Image> bitmapWithFocusedViewRect(const Rect& rect) = 0;
    /// Ends the drawing and gives the image; to be called once, as the last call.
    virtual Image unlockFocus() = 0;
};

/// The imaging of the platform. Any thread; nothing is shared between two calls, and no call waits
/// for a device or a display.
///
/// A decoded picture has one pixel a point, whatever density it claims. A picture of more than
/// `kMostPixelsKept` pixels keeps its size and is held with fewer pixels, so that no picture takes
/// more than a bounded piece of memory; new images of that size likewise. The orientation that a
/// camera noted is not applied.
class Imaging {
public:
    /// 2048 by 2048: sixteen times what the largest icon takes.
    static constexpr double kMostPixelsKept = 4'194'304;

    virtual ~Imaging() = default;

    /// Decodes a picture; none for damaged or empty data and formats that are not known, and for
    /// pictures that take too much to decode (the adapter states its limits).
    virtual std::optional<Image> imageWithData(const PropertyData& data) const = 0;
    /// The same for a file of this computer; none too when it cannot be read.
    virtual std::optional<Image> imageWithContentsOfFile(const std::string& path) const = 0;
    /// A resource of the program by its name; none when there is no such picture.
    virtual std::optional<Image> imageNamed(const std::string& name) const = 0;

    /// Whether an image has content, or names a resource that has.
    virtual bool isValid(const Image& image) const = 0;
    /// Its size in points; nothing by nothing for an image that is not valid.
    virtual Size size(const Image& image) const = 0;

    /// Begins a new image; null when it cannot be made (no area, or not a number).
    virtual std::unique_ptr<FocusedImage> lockFocus(const Size& size) const = 0;

    /// Encoded pictures, one pixel a point; none when encoding fails. JPEG has no transparency:
    /// what is transparent shows black. `compressionFactor` 1 is the best quality, 0 the least.
    virtual std::optional<PropertyData> JPEGRepresentation(const Image& image,
                                                           float compressionFactor) const = 0;
    virtual std::optional<PropertyData> PNGRepresentation(const Image& image) const = 0;
};

}  // namespace quillbox
