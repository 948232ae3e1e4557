// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"

#include <optional>
#include <string>

namespace quillbox::host {

/// A dictionary as an XML property list. Dates keep whole microseconds at most; an unsigned number
/// beyond the signed range keeps its bits.
std::string plistText(const PropertyDictionary& dictionary);

/// The dictionary of an XML property list; none when the text is damaged or holds anything else.
std::optional<PropertyDictionary> dictionaryFromPlistText(const std::string& text);

}  // namespace quillbox::host
