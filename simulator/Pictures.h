// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"

#include <array>
#include <string_view>

namespace quillbox::simulator {

/// A small picture in memory: rows from the top, three bytes a pixel (red, green, blue).
struct Picture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<std::uint8_t> pixels;

    [[nodiscard]] std::array<std::uint8_t, 3> at(unsigned x, unsigned y) const;
};

/// A photograph's stand-in: a sky, a sun and hills, different for each number.
[[nodiscard]] Picture landscape(unsigned number, unsigned width, unsigned height);

/// A square with a figure, coloured by the application's identifier.
[[nodiscard]] Picture applicationPicture(std::string_view identifier, unsigned size);

/// The picture as a PNG file.
[[nodiscard]] wire::Bytes encodePng(const Picture& picture);

/// The picture as a baseline JPEG file.
[[nodiscard]] wire::Bytes encodeJpeg(const Picture& picture);

}  // namespace quillbox::simulator
