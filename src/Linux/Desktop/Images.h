// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"
#include "Core/Platform/Imaging.h"

namespace quillbox::desktop {

/// Imaging by Qt's raster painter. Needs neither a display nor an application object.
/// What it decodes, and within which limits: `decodedPicture`.
class Images final : public Imaging {
public:
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
