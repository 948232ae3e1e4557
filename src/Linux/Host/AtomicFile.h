// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillbox::host {

/// Replaces a file's content as a whole: a new file beside it, synced, renamed over it, the folder
/// synced. After a failure the former file is untouched and nothing is left beside it. 0 or an
/// `errno` number. A symbolic link at `path` is followed, so that it stays one.
int replaceFile(const std::string& path, std::string_view content, mode_t mode);

/// A file's whole content; none, with the reason in `error`, when it cannot be read or is longer
/// than `limit` bytes (EFBIG).
std::optional<std::string> readWholeFile(const std::string& path, std::size_t limit, int* error);

/// Makes a folder and its missing parents with the given mode. 0 or an `errno` number.
int makeFolders(const std::string& path, mode_t mode);

}  // namespace quillbox::host
