// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillbox {

/// The element of an icon family that holds a picture of a width in pixels: "ic09" for 512, "ic08"
/// for 256, "ic07" for 128, none for any other.
std::optional<std::string_view> iconElementType(std::int32_t width);

/// An icon family ("icns") with one element: two headers of a type and a big-endian length that
/// counts its header, and the payload, which for these elements is a PNG picture. None when the
/// payload is too long to be counted.
std::optional<PropertyData> iconFamily(std::string_view elementType, const PropertyData& payload);

}  // namespace quillbox
