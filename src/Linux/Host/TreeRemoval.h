// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quillbox::host {

/// Removes a file, or a folder with everything in it. Links are removed and not followed, mount
/// points are neither entered nor asked anything and stay, with the folders that lead to them.
/// False when something stayed; a path that does not exist is a failure too.
bool removeTree(const std::string& path);

}  // namespace quillbox::host
