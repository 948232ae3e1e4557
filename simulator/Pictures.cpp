// SPDX-License-Identifier: GPL-3.0-or-later
#include "Pictures.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace quillbox::simulator {

std::array<std::uint8_t, 3> Picture::at(unsigned x, unsigned y) const {
    const std::size_t offset = (std::size_t{y} * width + x) * 3;
    return {pixels[offset], pixels[offset + 1], pixels[offset + 2]};
}

namespace {

Picture blank(unsigned width, unsigned height) {
    return {width, height, std::vector<std::uint8_t>(std::size_t{width} * height * 3)};
}

void set(Picture& picture, unsigned x, unsigned y, double red, double green, double blue) {
    const std::size_t offset = (std::size_t{y} * picture.width + x) * 3;
    const auto byte = [](double value) {
        return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
    };
    picture.pixels[offset] = byte(red);
    picture.pixels[offset + 1] = byte(green);
    picture.pixels[offset + 2] = byte(blue);
}

}  // namespace

Picture landscape(unsigned number, unsigned width, unsigned height) {
    Picture picture = blank(width, height);
    const double seed = number * 1.7;
    const double sunX = (0.2 + 0.6 * std::fabs(std::sin(seed))) * width;
    const double sunY = 0.25 * height;
    const double sunRadius = 0.08 * width;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            const double depth = static_cast<double>(y) / height;
            const double hill = height * (0.6 + 0.1 * std::sin(x * 9.0 / width + seed) +
                                          0.04 * std::sin(x * 23.0 / width + seed * 2));
            if (y > hill) {
                const double shade = (y - hill) / height;
                set(picture, x, y, 60 - 40 * shade, 140 - 120 * shade, 50);
            } else if (std::hypot(x - sunX, y - sunY) < sunRadius) {
                set(picture, x, y, 255, 235, 150);
            } else {
                set(picture, x, y, 90 + 140 * depth, 150 + 70 * depth, 235);
            }
        }
    }
    return picture;
}

Picture applicationPicture(std::string_view identifier, unsigned size) {
    Picture picture = blank(size, size);
    const std::size_t hash = std::hash<std::string_view>{}(identifier);
    const double red = 40 + static_cast<double>(hash % 180);
    const double green = 40 + static_cast<double>((hash >> 8U) % 180);
    const double blue = 40 + static_cast<double>((hash >> 16U) % 180);
    const double center = size / 2.0;
    const double petals = 3 + static_cast<double>((hash >> 24U) % 5);
    for (unsigned y = 0; y < size; ++y) {
        for (unsigned x = 0; x < size; ++x) {
            const double dx = x + 0.5 - center;
            const double dy = y + 0.5 - center;
            const double radius = center * (0.55 + 0.2 * std::cos(petals * std::atan2(dy, dx)));
            const bool inside = std::hypot(dx, dy) < radius;
            set(picture, x, y, inside ? 250 : red, inside ? 250 : green, inside ? 245 : blue);
        }
    }
    return picture;
}

}  // namespace quillbox::simulator
