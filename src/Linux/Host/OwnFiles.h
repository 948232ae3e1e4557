// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Host/FileDescriptor.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillbox::host {

/// Opens a plain file by a name that other users may know. A link at the end of the path is not
/// followed, nothing but a plain file is taken (a named pipe neither, and without waiting for it),
/// and where others can make files the file must belong to this user and have no second name:
/// another user can then have planted neither the file nor a link to one. `flags` and `permissions`
/// are those of open(2). Empty, with the reason in `errno`, when it is refused.
FileDescriptor openOwnFile(const std::string& path, int flags, mode_t permissions);

/// Reads until `length` bytes are there or the file ends; the count, or -1 with `errno`.
std::int64_t readFully(int descriptor, void* buffer, std::size_t length);

}  // namespace quillbox::host
