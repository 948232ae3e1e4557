// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"
#include "Wire/Decoded.h"

#include <utility>

namespace quillbox::wire {

/// Most entries of a directory that are taken from a device.
inline constexpr std::size_t kMaxDirectoryEntries = 1'000'000;
/// Most pairs of a key/value list that are taken from a device: real ones have about ten.
inline constexpr std::size_t kMaxKeyValuePairs = 1024;

using KeyValue = std::pair<std::string, std::string>;

/// Splits the answer to a directory read. Every name has a NUL behind it; names come out as they
/// stand, also empty ones, ".", ".." and those with slashes: see isUsableEntryName. Errors:
/// NotTerminated, TooManyEntries.
Decoded<std::vector<std::string>> splitNames(ByteView data,
                                             std::size_t maxEntries = kMaxDirectoryEntries);

/// Splits an answer of keys and values, in the order in which they came, doubles included. Errors:
/// NotTerminated, OddCount, TooManyEntries.
Decoded<std::vector<KeyValue>> splitKeyValues(ByteView data,
                                              std::size_t maxPairs = kMaxKeyValuePairs);

/// Names as a directory answer carries them.
[[nodiscard]] Bytes joinNames(std::span<const std::string> names);

/// Keys and values as an information answer carries them.
[[nodiscard]] Bytes joinKeyValues(std::span<const KeyValue> pairs);

/// Whether a name from a device can be an entry of a local directory: not empty, no slash, no NUL,
/// and neither "." nor "..", which are the system's own.
[[nodiscard]] bool isUsableEntryName(std::string_view name);

}  // namespace quillbox::wire
