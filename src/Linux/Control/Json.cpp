// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Json.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace quillbox::control {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// The length of the well-formed sequence that a text begins with; 0 where it begins with none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    // Over-long forms, surrogates and numbers beyond the last one show in the second byte.
    const unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < low || byte(1) > high) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    return length;
}

std::string escaped(char each) {
    switch (each) {
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        break;
    }
    if (static_cast<unsigned char>(each) >= 0x20 && each != 0x7F) {
        return {each};
    }
    std::array<char, 8> code{};
    std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned char>(each));
    return code.data();
}

}  // namespace

void JsonWriter::key(std::string_view name) {
    value(name);
    text_ += ": ";
    followsKey_ = true;
}

void JsonWriter::value(std::string_view text) {
    std::string quoted = "\"";
    for (const char each : validUtf8(text)) {
        quoted += escaped(each);
    }
    put(quoted + "\"");
}

void JsonWriter::value(const std::optional<std::string>& text) {
    if (text) {
        value(std::string_view(*text));
    } else {
        put("null");
    }
}

void JsonWriter::begin(char bracket) {
    separate();
    text_ += bracket;
    ++depth_;
    isFirst_ = true;
}

void JsonWriter::end(char bracket) {
    --depth_;
    if (!isFirst_) {
        newLine();
    }
    text_ += bracket;
    isFirst_ = false;
}

void JsonWriter::put(std::string_view token) {
    separate();
    text_ += token;
    isFirst_ = false;
}

void JsonWriter::newLine() {
    text_ += "\n" + std::string(static_cast<std::size_t>(depth_) * 2, ' ');
}

void JsonWriter::separate() {
    if (followsKey_) {
        followsKey_ = false;
        return;
    }
    if (!isFirst_) {
        text_ += ",";
    }
    if (depth_ > 0) {
        newLine();
    }
}

std::string validUtf8(std::string_view text) {
    std::string valid;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        valid += length > 0 ? text.substr(0, length) : kReplacement;
        text.remove_prefix(length > 0 ? length : 1);
    }
    return valid;
}

std::string printable(std::string_view text) {
    std::string plain = validUtf8(text);
    for (std::size_t i = 0; i < plain.size(); ++i) {
        const auto each = static_cast<unsigned char>(plain[i]);
        if (each < 0x20 || each == 0x7F) {
            plain[i] = '?';
        } else if (each == 0xC2 && static_cast<unsigned char>(plain[i + 1]) < 0xA0) {
            plain.replace(i, 2, "?");  // the second set of control characters
        }
    }
    return plain;
}

}  // namespace quillbox::control
