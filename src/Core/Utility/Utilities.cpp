// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Utility/Utilities.h"

#include "Core/Platform/LogLine.h"
#include "Core/Platform/PathText.h"
#include "Core/Volumes/CommonData.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace quillbox {

namespace {

/// Single precision, as the figures are shown: the last digits of large counts are lost. The point
/// is a point in every locale.
std::string oneDecimal(std::uint64_t count, std::string_view unit) {
    const float value = static_cast<float>(count) / 1024.0F;
    std::array<char, 64> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(),
                                       static_cast<double>(value), std::chars_format::fixed, 1);
    return std::string(text.data(), written.ptr) + " " + std::string(unit);
}

bool holdsObject(const std::vector<std::string>& list, const std::string& object) {
    return std::any_of(list.begin(), list.end(),
                       [&object](const std::string& each) { return &each == &object; });
}

}  // namespace

std::string Utilities::byteCountToDisplayString(std::uint64_t bytes) {
    if (bytes == 0) {
        return {};
    }
    if (bytes <= 1023) {
        return std::to_string(bytes) + " B";
    }
    const std::uint64_t kibibytes = bytes >> 10U;
    if (kibibytes <= 1023) {
        return std::to_string(kibibytes) + " kB";
    }
    if (kibibytes <= 0xFFFFF) {
        return oneDecimal(kibibytes, "MB");
    }
    return oneDecimal(bytes >> 20U, "GB");
}

std::optional<std::string>
Utilities::incramentPathIfExists(const std::optional<std::string>& path) {
    if (!path) {
        return std::nullopt;
    }
    const Platform& platform = CommonData::sharedInstance().platform();
    const std::string base = stringByDeletingPathExtension(*path);
    const std::string extension = pathExtension(*path);
    std::string candidate = *path;
    for (std::uint32_t number = 1; platform.files.fileExistsAtPath(candidate); ++number) {
        candidate = base + "(" + std::to_string(number) + ")";
        if (!extension.empty()) {
            candidate += "." + extension;
        }
        logLine(platform.log, LogLevel::Info, "incramented filename: ", candidate);
    }
    return candidate;
}

std::int32_t Utilities::mediaTypeForFilePath(const std::string& path) {
    return mediaTypeForExtension(pathExtension(path));
}

std::int32_t Utilities::mediaTypeForExtension(const std::string& extension) {
    const auto& common = CommonData::sharedInstance();
    if (holdsObject(common.pictureTypes(), extension)) {
        return kMediaKindPicture;
    }
    if (holdsObject(common.audioTypes(), extension)) {
        return kMediaKindAudio;
    }
    if (holdsObject(common.videoTypes(), extension)) {
        return kMediaKindVideo;
    }
    return kMediaKindOther;
}

std::string Utilities::stringOrNA(const std::optional<std::string>& text) {
    return text.value_or("Not available");
}

std::string Utilities::stringOrEmpty(const std::optional<std::string>& text) {
    return text.value_or("");
}

bool Utilities::isHiddenFile(const std::string& path) {
    return path.starts_with('.') || path.find("/.") != std::string::npos;
}

}  // namespace quillbox
