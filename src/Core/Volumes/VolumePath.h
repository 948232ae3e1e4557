// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quillbox {

/// The longest name of one folder, in bytes.
inline constexpr std::size_t kMaximumNameBytes = 255;

/// Makes exactly one folder name of a text that a device or a person chose: slashes become colons,
/// control characters go, what is empty, "." or ".." becomes "Untitled", and what is too long is
/// cut between two characters.
std::string folderName(std::string_view text, std::size_t maximumBytes = kMaximumNameBytes);

/// The path of a volume: the volumes folder joined with `folderName(name)`.
std::string volumePath(std::string_view volumesFolder, std::string_view name);

/// A path with a suffix to its last component, which is cut so far that it stays one folder name.
std::string pathWithSuffix(std::string_view path, std::string_view suffix);

/// Where the search for a free name ends.
inline constexpr std::uint32_t kNameNumberBound = 100'000'000;

/// The first of PATH, "PATH 2", "PATH 3", ... that is not taken. The numbers stay below `bound`:
/// when all are taken the answer is the last of them.
std::string firstFreePath(const std::string& path,
                          const std::function<bool(const std::string& candidate)>& isTaken,
                          std::uint32_t bound = kNameNumberBound);

}  // namespace quillbox
