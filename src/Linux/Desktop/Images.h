// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"
#include "Core/Platform/Imaging.h"

namespace quillbox::desktop {

/// Imaging by Qt's raster painter. Needs neither a display nor an application object.
///
/// Decodes JPEG, PNG, GIF (the first picture) and BMP, and turns embedded colour profiles into
/// sRGB. A picture does not decode when it has more than `kMostPixelsDecoded` pixels or takes more
/// than `kMostBytesDecoding` bytes on the way to its scaled size: baseline JPEG and plain 8-bit PNG
/// are scaled while they are read and take little, progressive JPEG, interlaced or 16-bit PNG, GIF
/// and BMP are held whole.
class Images final : public Imaging {
public:
    /// 16,384 by 16,384.
    static constexpr double kMostPixelsDecoded = 268'435'456;
    static constexpr double kMostBytesDecoding = 268'435'456;
    /// Longer files are not read.
    static constexpr std::int64_t kLongestFile = 268'435'456;

    /// Named pictures are the PNG resources of the bundle, which must outlive this.
    explicit Images(const Bundle& bundle) : bundle_(bundle) {}

    std::optional<Image> imageWithData(const PropertyData& data) const override;
    std::optional<Image> imageWithContentsOfFile(const std::string& path) const override;
    std::optional<Image> imageNamed(const std::string& name) const override;
    bool isValid(const Image& image) const override;
    Size size(const Image& image) const override;
    std::unique_ptr<FocusedImage> lockFocus(const Size& size) const override;
    std::optional<PropertyData> JPEGRepresentation(const Image& image,
                                                   float compressionFactor) const override;
    std::optional<PropertyData> PNGRepresentation(const Image& image) const override;

private:
    const Bundle& bundle_;
};

}  // namespace quillbox::desktop
