// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Imaging.h"
#include "FakeHostFiles.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::fakes {

/// Imaging without pixels: a picture is encoded as the text "picture 200x100", and what is drawn is
/// kept as a text that tells how. Any other data does not decode.
class FakeImaging final : public Imaging {
public:
    explicit FakeImaging(FakeHostFiles& files) : files_(files) {}

    /// An image of a size, as if it had been decoded from "picture WxH".
    static Image image(double width, double height, std::string story = {});
    /// How an image came about: "picture 200x100", or the drawing steps one line each.
    static std::string story(const Image& image);

    std::optional<Image> imageWithData(const PropertyData& data) const override;
    std::optional<Image> imageWithContentsOfFile(const std::string& path) const override;
    std::optional<Image> imageNamed(const std::string& name) const override;
    bool isValid(const Image& image) const override;
    Size size(const Image& image) const override;
    std::unique_ptr<FocusedImage> lockFocus(const Size& size) const override;
    /// "JPEG 0.85 of " and the story of the image; PNG likewise.
    std::optional<PropertyData> JPEGRepresentation(const Image& image,
                                                   float compressionFactor) const override;
    std::optional<PropertyData> PNGRepresentation(const Image& image) const override;

    std::map<std::string, Size> resources;  ///< sizes of the program's pictures, by name
    bool canLockFocus = true;
    bool canGrab = true;
    bool canEncode = true;
    mutable std::vector<std::string> clips;  ///< every rounded clip: its rectangle and radii

private:
    FakeHostFiles& files_;
};

}  // namespace quillbox::fakes
