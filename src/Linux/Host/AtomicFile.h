// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillbox::host {

/// What becomes of a symbolic link at the path of a file that is replaced.
enum class Links {
    Followed,  ///< it stays one, its target is replaced
    Replaced,  ///< the new file takes its place
};

/// Replaces a file's content as a whole: a new file beside it, synced, renamed over it, the folder
/// synced. After a failure the former file is untouched and nothing is left beside it. 0 or an
/// `errno` number. In a sticky
/// folder a file of another user cannot be replaced (EPERM).
int replaceFile(const std::string& path, std::string_view content, mode_t mode,
                Links links = Links::Followed);

/// A file's whole content; none, with the reason in `error`, when it cannot be read or is longer
/// than `limit` bytes (EFBIG).
std::optional<std::string> readWholeFile(const std::string& path, std::size_t limit, int* error);

/// Writes all bytes. 0 or an `errno` number.
int writeFully(int descriptor, std::string_view content);

/// The folder that a path lies in: "." for a bare name.
std::string folderOf(const std::string& path);

/// Makes a folder and its missing parents with the given mode. 0 or an `errno` number.
int makeFolders(const std::string& path, mode_t mode);

}  // namespace quillbox::host
