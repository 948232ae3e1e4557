// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/MountOptions.h"

#include <fstream>
#include <string_view>

namespace quillbox::volume {
namespace {

constexpr std::size_t kSourceLimit = 255;  // bytes of a name that the mount table shows

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

// The library splits options at commas and takes a backslash as an escape.
std::string escaped(std::string_view value) {
    std::string result;
    for (const char character : value) {
        if (character == ',' || character == '\\') {
            result += '\\';
        }
        result += character;
    }
    return result;
}

std::string sourceName(std::string_view volumeName) {
    std::string name;
    for (const char character : volumeName.substr(0, kSourceLimit)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7f) {
            name += character;
        }
    }
    return name.empty() ? "quillbox" : name;
}

std::string_view trimmed(std::string_view line) {
    const auto first = line.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

MountOptions MountOptions::parse(const std::vector<std::string>& options) {
    MountOptions result;
    for (const std::string& option : options) {
        std::string_view value = option;
        if (takePrefix(value, "volname=")) {
            result.volumeName = value;
        } else if (takePrefix(value, "volicon=")) {
            result.iconPath = value;
        } else if (option == "allow_other") {
            result.wantsOtherUsers = true;
        } else if (option != "local" && option != "direct_io") {
            result.unknown.push_back(option);
        }
    }
    return result;
}

std::vector<std::string> fuseConfigurationFiles() {
    return {"/etc/fuse.conf", "/etc/fuse3.conf"};
}

bool mayAdmitOthers(bool isRoot, const std::vector<std::string>& configurationFiles) {
    if (isRoot) {
        return true;
    }
    for (const std::string& path : configurationFiles) {
        std::ifstream file(path);
        std::string line;
        while (std::getline(file, line)) {
            if (trimmed(line) == "user_allow_other") {
                return true;
            }
        }
    }
    return false;
}

std::string fuseOptionText(const std::string& volumeName, bool admitsOthers) {
    std::string text = "fsname=" + escaped(sourceName(volumeName));
    text += ",subtype=quillbox,nosuid,nodev";
    if (admitsOthers) {
        text += ",allow_other";
    }
    return text;
}

}  // namespace quillbox::volume
