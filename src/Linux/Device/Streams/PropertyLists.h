// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"
#include "Wire/Bytes.h"

#include <optional>

namespace quillbox::device {

/// Deepest nesting of a property list that is taken. The library that reads them walks them by
/// recursion, so an unbounded one would end the program.
inline constexpr std::size_t kMaxPropertyListDepth = 64;

/// Reads an XML or binary property list. Nothing where it is malformed or nested too deeply.
std::optional<PropertyValue> parsePropertyList(wire::ByteView bytes);

/// The same where only a dictionary makes sense.
std::optional<PropertyDictionary> parseDictionary(wire::ByteView bytes);

/// Writes an XML property list.
wire::Bytes writePropertyList(const PropertyDictionary& dictionary);

/// Text under a key, or nothing where there is none or it is of another kind.
std::optional<std::string> textOf(const PropertyDictionary& dictionary, std::string_view key);

/// Whether the nesting of a property list, as its bytes stand, is within kMaxPropertyListDepth.
/// False as well where that cannot be told. To be asked before the bytes reach the library.
bool isNestingBounded(wire::ByteView bytes);

}  // namespace quillbox::device
