// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace quillbox {

/// Paths as texts, in the platform's manner; nothing here asks a file system. Any thread.

/// Joins a path and a further component (or several) with exactly one slash between them. Runs of
/// slashes become one and a slash at the end goes, except for "/" itself.
std::string stringByAppendingPathComponent(std::string_view path, std::string_view component);
/// The part after the last slash, a slash at the end not counted; "/" for the top.
std::string lastPathComponent(std::string_view path);
/// The path without its last component: "/" for what lies in the top, "" for a bare name.
std::string stringByDeletingLastPathComponent(std::string_view path);
/// What follows the last dot of the last component; "" when there is no dot, when it leads the
/// component, or when it ends it.
std::string pathExtension(std::string_view path);
/// The path without its extension and the dot before it.
std::string stringByDeletingPathExtension(std::string_view path);

}  // namespace quillbox
