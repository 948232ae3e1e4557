// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Volumes/VolumePath.h"

#include "Core/Platform/PathText.h"

namespace quillbox {

namespace {

unsigned char byteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0U) == 0x80U;
}

std::string_view cut(std::string_view text, std::size_t maximumBytes) {
    if (text.size() <= maximumBytes) {
        return text;
    }
    while (maximumBytes > 0 && isContinuation(byteAt(text, maximumBytes))) {
        --maximumBytes;
    }
    return text.substr(0, maximumBytes);
}

/// Without the control characters of both ranges, U+0000 to U+001F and U+007F to U+009F.
std::string withoutControls(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const unsigned char byte = byteAt(text, at);
        const unsigned char next = byteAt(text, at + 1);
        if (byte == 0xC2 && next >= 0x80 && next <= 0x9F) {
            ++at;
        } else if (byte >= 0x20 && byte != 0x7F) {
            clean += text[at];
        }
    }
    return clean;
}

}  // namespace

std::string folderName(std::string_view text, std::size_t maximumBytes) {
    std::string name = withoutControls(text);
    for (char& c : name) {
        if (c == '/') {
            c = ':';
        }
    }
    name = std::string(cut(name, maximumBytes));
    return name.empty() || name == "." || name == ".." ? "Untitled" : name;
}

std::string volumePath(std::string_view volumesFolder, std::string_view name) {
    return stringByAppendingPathComponent(volumesFolder, folderName(name));
}

std::string pathWithSuffix(std::string_view path, std::string_view suffix) {
    const std::string name = lastPathComponent(path);
    const std::string kept(cut(name, kMaximumNameBytes - suffix.size()));
    return stringByAppendingPathComponent(stringByDeletingLastPathComponent(path),
                                          kept + std::string(suffix));
}

std::string firstFreePath(const std::string& path,
                          const std::function<bool(const std::string& candidate)>& isTaken,
                          std::uint32_t bound) {
    std::string candidate = path;
    for (std::uint32_t number = 2; number < bound && isTaken(candidate); ++number) {
        candidate = pathWithSuffix(path, " " + std::to_string(number));
    }
    return candidate;
}

}  // namespace quillbox
