// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Images/IconFamily.h"

#include <limits>

namespace quillbox {

namespace {

constexpr std::size_t kHeader = 8;

void appendHeader(PropertyData& data, std::string_view type, std::size_t length) {
    data.insert(data.end(), type.begin(), type.end());
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        data.push_back(static_cast<std::uint8_t>(length >> shift));
    }
}

}  // namespace

std::optional<std::string_view> iconElementType(std::int32_t width) {
    switch (width) {
    case 512:
        return "ic09";
    case 256:
        return "ic08";
    case 128:
        return "ic07";
    default:
        return std::nullopt;
    }
}

std::optional<PropertyData> iconFamily(std::string_view elementType, const PropertyData& payload) {
    if (payload.size() > std::numeric_limits<std::uint32_t>::max() - 2 * kHeader) {
        return std::nullopt;
    }
    PropertyData data;
    data.reserve(payload.size() + 2 * kHeader);
    appendHeader(data, "icns", payload.size() + 2 * kHeader);
    appendHeader(data, elementType, payload.size() + kHeader);
    data.insert(data.end(), payload.begin(), payload.end());
    return data;
}

}  // namespace quillbox
