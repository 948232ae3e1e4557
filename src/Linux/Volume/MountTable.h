// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox::volume {

/// The type under which our volumes stand in the mount table.
inline constexpr std::string_view kVolumeType = "fuse.quillbox";

/// One line of the mount table, /proc/self/mountinfo.
struct Mount {
    unsigned deviceMinor = 0;  ///< with major 0: tells FUSE mounts apart, names the kernel's switch
    std::string mountPoint;
    std::string type;
    std::string source;
    std::string superOptions;

    /// The value of "key=" in the options of the file system.
    std::optional<std::string> option(std::string_view key) const;
};

/// The mount table's text as values, later mounts last; lines that make no sense are left out.
std::vector<Mount> parseMountTable(std::string_view text);
/// The present mount table. Touches no mounted file system.
std::vector<Mount> mountTable();

/// The last mount of our type at a path.
std::optional<Mount> volumeAt(const std::string& path);

}  // namespace quillbox::volume
