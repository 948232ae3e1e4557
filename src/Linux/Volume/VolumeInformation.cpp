// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/VolumeInformation.h"

namespace quillbox::volume {
namespace {

std::string escaped(const std::string& value) {
    std::string result;
    bool isStart = true;
    for (const char character : value) {
        switch (character) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\t':
            result += "\\t";
            break;
        case '\0':
            break;
        case ' ':
            result += isStart ? "\\s" : " ";  // leading blanks are dropped by readers otherwise
            break;
        default:
            result += character;
        }
        isStart = isStart && character == ' ';
    }
    return result;
}

}  // namespace

std::string volumeInformation(const std::string& name, const std::string& iconPath) {
    std::string text = "[Volume Info]\nName=" + escaped(name) + "\n";
    if (!iconPath.empty()) {
        text += "IconFile=" + escaped(iconPath) + "\n";
    }
    return text;
}

}  // namespace quillbox::volume
