// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

namespace quillbox::volume {

/// The seed of a volume's inode numbers. It is the same for the same computer, user and path, so
/// that a backup program knows a file again after the next mount, and no device knows it: one that
/// did could choose names whose numbers are the same. Random where the computer has no identity of
/// 32 hexadecimal digits in `machineIdFile` (machine-id(5)). Any thread.
std::uint64_t inodeSeed(const std::string& path, uid_t user,
                        const std::string& machineIdFile = "/etc/machine-id");

}  // namespace quillbox::volume
