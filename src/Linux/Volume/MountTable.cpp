// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/MountTable.h"

#include <charconv>
#include <fstream>
#include <iterator>

namespace quillbox::volume {
namespace {

// Blanks, tabs, line feeds and backslashes stand as three octal digits behind a backslash.
std::string unescaped(std::string_view field) {
    const auto isOctal = [](char digit) { return digit >= '0' && digit <= '7'; };
    std::string result;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size() && isOctal(field[i + 1]) &&
            isOctal(field[i + 2]) && isOctal(field[i + 3])) {
            result += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                        (field[i + 3] - '0'));
            i += 3;
        } else {
            result += field[i];
        }
    }
    return result;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const auto end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

// "36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue", proc(5).
std::optional<Mount> parseLine(std::string_view line) {
    const auto fields = split(line, ' ');
    std::size_t dash = 6;
    while (dash < fields.size() && fields[dash] != "-") {
        ++dash;
    }
    if (dash + 3 >= fields.size()) {
        return std::nullopt;
    }
    const auto numbers = split(fields[2], ':');
    Mount mount;
    if (numbers.size() != 2 ||
        std::from_chars(numbers[1].data(), numbers[1].data() + numbers[1].size(), mount.deviceMinor)
                .ec != std::errc{}) {
        return std::nullopt;
    }
    mount.mountPoint = unescaped(fields[4]);
    mount.type = unescaped(fields[dash + 1]);
    mount.source = unescaped(fields[dash + 2]);
    mount.superOptions = unescaped(fields[dash + 3]);
    return mount;
}

}  // namespace

std::optional<std::string> Mount::option(std::string_view key) const {
    for (const std::string_view part : split(superOptions, ',')) {
        if (part.size() > key.size() && part.starts_with(key) && part[key.size()] == '=') {
            return std::string(part.substr(key.size() + 1));
        }
    }
    return std::nullopt;
}

std::vector<Mount> parseMountTable(std::string_view text) {
    std::vector<Mount> mounts;
    for (const std::string_view line : split(text, '\n')) {
        if (auto mount = parseLine(line)) {
            mounts.push_back(std::move(*mount));
        }
    }
    return mounts;
}

std::vector<Mount> mountTable() {
    std::ifstream file("/proc/self/mountinfo");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return parseMountTable(text);
}

std::optional<Mount> volumeAt(const std::string& path) {
    std::optional<Mount> result;
    for (Mount& mount : mountTable()) {
        if (mount.mountPoint == path) {
            result = std::move(mount);
        }
    }
    return result && result->type == kVolumeType ? result : std::nullopt;
}

}  // namespace quillbox::volume
