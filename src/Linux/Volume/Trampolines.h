// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#define FUSE_USE_VERSION 312
#include <fuse_lowlevel.h>

namespace quillbox::volume {

/// The library's callbacks: each turns a request into one operation, and its answer, or whatever
/// was thrown, into exactly one reply. Once the queue is closed the answer is EIO, whatever was
/// asked.
const fuse_lowlevel_ops& trampolines();

}  // namespace quillbox::volume
