// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

namespace quillbox {

/// Lengths and places in points. Origins lie at the lower left, y grows upwards.
struct Point {
    double x = 0;
    double y = 0;

    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    double width = 0;
    double height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
    Point origin;
    Size size;

    friend bool operator==(const Rect&, const Rect&) = default;
};

/// How drawn pixels meet those that are there, by the platform's numbers.
enum NSCompositingOperation {
    NSCompositeCopy = 1,        ///< replaced, alpha included
    NSCompositeSourceOver = 2,  ///< laid over
};

enum NSImageInterpolation { NSImageInterpolationHigh = 3 };

/// The pixels of a picture, as the imaging back end keeps them. Never changed once it is made, so
/// that any thread may read it.
class ImageContent {
public:
    ImageContent() = default;
    ImageContent(const ImageContent&) = delete;
    ImageContent& operator=(const ImageContent&) = delete;
    virtual ~ImageContent() = default;
};

/// A picture: a named resource of the program, or content that the imaging back end made
/// (`Imaging.h`). A value; copies share their content.
struct Image {
    std::string resourceName;  ///< for example "16x16on"; empty when `content` holds the picture
    std::shared_ptr<const ImageContent> content;

    friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace quillbox
