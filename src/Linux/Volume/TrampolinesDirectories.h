// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#define FUSE_USE_VERSION 312
#include <fuse_lowlevel.h>

namespace quillbox::volume {

// The callbacks for directories, for the table of `trampolines`.

void onOpenDirectory(fuse_req_t request, fuse_ino_t node, fuse_file_info* file);
void onReadDirectory(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset,
                     fuse_file_info* file);
void onReadDirectoryPlus(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset,
                         fuse_file_info* file);
void onReleaseDirectory(fuse_req_t request, fuse_ino_t node, fuse_file_info* file);

}  // namespace quillbox::volume
