// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#define FUSE_USE_VERSION 312

#include <fuse_lowlevel.h>

namespace quillbox::volume {

/// Reads and writes a session's device file in the library's place, for the sake of the first
/// exchange, in which kernel and volume agree on the protocol: it adds what some releases of the
/// library (3.14 among them) forget to pass on, and tells when the kernel has the answer. From then
/// on the volume is really there. To be called after a successful `fuse_session_mount` of a session
/// whose user data is a `Served`; 0 or a negative errno number.
int useKernelChannel(fuse_session* session);

}  // namespace quillbox::volume
