// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/ValueText.h"

namespace quillbox {

namespace {

std::string hexadecimal(const PropertyData& data) {
    constexpr char kDigits[] = "0123456789abcdef";
    constexpr std::size_t kGroup = 4;
    std::string text = "<";
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i > 0 && i % kGroup == 0) {
            text += ' ';
        }
        text += kDigits[data[i] >> 4U];
        text += kDigits[data[i] & 0xFU];
    }
    return text + ">";
}

}  // namespace

std::optional<std::string> valueText(const std::optional<PropertyValue>& value) {
    if (!value) {
        return std::nullopt;
    }
    if (const auto* text = value->string()) {
        return *text;
    }
    if (const auto* data = value->get<PropertyData>()) {
        return hexadecimal(*data);
    }
    return description(*value);
}

}  // namespace quillbox
