// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"
#include "Linux/Volume/Result.h"

#include <cstdint>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>

namespace quillbox::volume {

/// The I/O size that `stat` reports, so that ordinary copy tools ask for as much at once as one
/// request carries.
inline constexpr blksize_t kPreferredIoSize = blksize_t{1024} * 1024;

/// The longest name that a volume promises to take, bytes. A device's own may be longer.
inline constexpr std::size_t kLongestName = 255;

/// Who owns the files of a volume: the user who mounts it.
struct Owner {
    uid_t user = 0;
    gid_t group = 0;
};

/// What the kernel is told of an item, made from an item attribute dictionary; the inode number is
/// left 0. A missing key is 0, an unknown type a regular file; a size beyond the signed range is
/// EIO.
Result<struct stat> statOf(const PropertyDictionary& attributes, const Owner& owner);

/// Sets size and block count.
void setSize(struct stat& attributes, std::uint64_t size);
/// Sets modification, change and access time, which a device keeps as one.
void setTime(struct stat& attributes, std::int64_t nanoseconds);

/// What `df` shows, made from a volume attribute dictionary.
struct statvfs statvfsOf(const PropertyDictionary& attributes);

}  // namespace quillbox::volume
