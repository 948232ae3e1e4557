// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillbox {

/// What kind of media a file holds.
enum MediaKind : std::int32_t {
    kMediaKindVideo = 0,
    kMediaKindAudio = 1,
    kMediaKindPicture = 2,
    kMediaKindOther = 3,
};

/// Small helpers without state. Works on the platform of `CommonData`. Main thread.
class Utilities {
public:
    /// "512 B", "1 kB", "3.5 MB", "1.5 GB": steps of 1024 with decimal labels; "" for 0.
    static std::string byteCountToDisplayString(std::uint64_t bytes);
    /// A path on this computer that names nothing yet: PATH, then "BASE(1).EXT", "BASE(2).EXT",
    /// ... None for none.
    static std::optional<std::string> incramentPathIfExists(const std::optional<std::string>& path);
    /// The kind of a path's extension. Extensions are compared by identity: one that was made from
    /// a path is never the very string of a list, so this answers `kMediaKindOther`.
    static std::int32_t mediaTypeForFilePath(const std::string& path);
    /// The kind whose list in `CommonData` holds this very string object.
    static std::int32_t mediaTypeForExtension(const std::string& extension);
    static std::string stringOrNA(const std::optional<std::string>& text);
    static std::string stringOrEmpty(const std::optional<std::string>& text);
    /// Whether a component of a path begins with a dot.
    static bool isHiddenFile(const std::string& path);
};

}  // namespace quillbox
