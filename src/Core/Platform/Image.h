// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillbox {

/// A picture that menus and the status item show: a named resource of the program, or encoded
/// bytes.
struct Image {
    std::string resourceName;  ///< for example "16x16on"; empty when `encoded` holds the picture
    std::vector<std::uint8_t> encoded;  ///< PNG or JPEG bytes

    friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace quillbox
