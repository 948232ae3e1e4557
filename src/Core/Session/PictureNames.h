// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace quillbox {

/// The letters of the basic alphabet made small; enough to compare with suffixes made of them.
inline std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

/// Suffixes of the pictures that the camera roll names. The suffix alone decides, with or without a
/// dot before it.
inline bool isJpegName(std::string_view path) {
    const std::string name = lowercased(std::string(path));
    return name.ends_with("jpg") || name.ends_with("jpeg");
}

inline bool isPngName(std::string_view path) {
    return lowercased(std::string(path)).ends_with("png");
}

inline bool isCameraRollPicture(std::string_view path) {
    return isJpegName(path) || isPngName(path);
}

}  // namespace quillbox
