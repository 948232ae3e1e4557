// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Attributes.h"

#include "Core/Platform/UserFileSystem.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string_view>

namespace quillbox::volume {
namespace {

constexpr std::uint64_t kStatBlock = 512;     // the unit of st_blocks, whatever the disk
constexpr std::uint64_t kVolumeBlock = 4096;  // the unit in which the volume counts its space
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

std::uint64_t unsignedAt(const PropertyDictionary& dictionary, std::string_view key) {
    const PropertyValue* value = find(dictionary, key);
    return value == nullptr ? 0 : value->unsignedValue();
}

mode_t typeNamed(std::string_view name) {
    if (name == NSFileTypeDirectory) {
        return S_IFDIR;
    }
    if (name == NSFileTypeSymbolicLink) {
        return S_IFLNK;
    }
    if (name == NSFileTypeSocket) {
        return S_IFSOCK;
    }
    if (name == NSFileTypeCharacterSpecial) {
        return S_IFCHR;
    }
    if (name == NSFileTypeBlockSpecial) {
        return S_IFBLK;
    }
    return S_IFREG;
}

bool isKnownType(mode_t type) {
    return type == S_IFDIR || type == S_IFREG || type == S_IFLNK || type == S_IFSOCK ||
           type == S_IFCHR || type == S_IFBLK || type == S_IFIFO;
}

// The kernel refuses an item without a type, so the mode word's type counts first, then the type
// key, and what neither names is shown as a regular file.
mode_t modeOf(const PropertyDictionary& attributes) {
    const auto word = static_cast<mode_t>(unsignedAt(attributes, NSFilePosixPermissions));
    const mode_t permissions = word & 07777;
    if (isKnownType(word & S_IFMT)) {
        return permissions | (word & S_IFMT);
    }
    const PropertyValue* type = find(attributes, NSFileType);
    const std::string* name = type == nullptr ? nullptr : type->string();
    return permissions | (name == nullptr ? mode_t{S_IFREG} : typeNamed(*name));
}

}  // namespace

void setSize(struct stat& attributes, std::uint64_t size) {
    attributes.st_size = static_cast<off_t>(size);
    attributes.st_blocks = static_cast<blkcnt_t>(size / kStatBlock + (size % kStatBlock != 0));
}

void setTime(struct stat& attributes, std::int64_t nanoseconds) {
    std::int64_t seconds = nanoseconds / kNanosecondsPerSecond;
    std::int64_t rest = nanoseconds % kNanosecondsPerSecond;
    if (rest < 0) {
        --seconds;
        rest += kNanosecondsPerSecond;
    }
    attributes.st_mtim.tv_sec = seconds;
    attributes.st_mtim.tv_nsec = rest;
    attributes.st_ctim = attributes.st_mtim;
    attributes.st_atim = attributes.st_mtim;
}

Result<struct stat> statOf(const PropertyDictionary& attributes, const Owner& owner) {
    const std::uint64_t size = unsignedAt(attributes, NSFileSize);
    if (size > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return Failure{EIO};
    }
    struct stat result = {};
    result.st_mode = modeOf(attributes);
    result.st_uid = owner.user;
    result.st_gid = owner.group;
    result.st_nlink = std::max<nlink_t>(
        1, static_cast<std::uint32_t>(unsignedAt(attributes, NSFileReferenceCount)));
    result.st_blksize = kPreferredIoSize;
    setSize(result, size);
    const PropertyValue* date = find(attributes, NSFileModificationDate);
    const PropertyDate* time = date == nullptr ? nullptr : date->get<PropertyDate>();
    setTime(result, time == nullptr ? 0 : time->time_since_epoch().count());
    return result;
}

struct statvfs statvfsOf(const PropertyDictionary& attributes) {
    struct statvfs result = {};
    result.f_bsize = kVolumeBlock;
    result.f_frsize = kVolumeBlock;
    result.f_blocks = unsignedAt(attributes, NSFileSystemSize) / kVolumeBlock;
    // Some devices count as free what they could clear away, and come to more than there is.
    result.f_bfree = std::min<fsblkcnt_t>(
        result.f_blocks, unsignedAt(attributes, NSFileSystemFreeSize) / kVolumeBlock);
    result.f_bavail = result.f_bfree;
    result.f_files = unsignedAt(attributes, NSFileSystemNodes);
    result.f_ffree = unsignedAt(attributes, NSFileSystemFreeNodes);
    result.f_favail = result.f_ffree;
    result.f_namemax = kLongestName;
    return result;
}

}  // namespace quillbox::volume
