// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"
#include "Linux/Device/Streams/ByteStream.h"

#include <optional>

namespace quillbox::device {

/// Longest property list taken from a device.
inline constexpr std::size_t kMaxAnswer = 32U << 20U;

/// Sends a property list with its length in front. False: the stream is over.
bool sendPropertyList(ByteStream& stream, const PropertyDictionary& request);

/// Takes one dictionary. Nothing: the stream is over, or what came was no dictionary and the
/// stream has been broken; `error` says which.
std::optional<PropertyDictionary> receivePropertyList(ByteStream& stream, std::string& error);

/// Both in turn.
std::optional<PropertyDictionary>
askPropertyList(ByteStream& stream, const PropertyDictionary& request, std::string& error);

}  // namespace quillbox::device
