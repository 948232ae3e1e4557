// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/LocalFileManager.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>

namespace quillbox::host {

namespace {

struct DirectoryEnd {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

std::nullopt_t failed(int code, GMErrorOut error) {
    if (error != nullptr) {
        *error = NSError::errorWithDomain(NSPOSIXErrorDomain, code);
        (*error)->localizedDescription = std::generic_category().message(code);
    }
    return std::nullopt;
}

std::string_view typeOf(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return NSFileTypeDirectory;
    case S_IFREG:
        return NSFileTypeRegular;
    case S_IFLNK:
        return NSFileTypeSymbolicLink;
    case S_IFSOCK:
        return NSFileTypeSocket;
    case S_IFCHR:
        return NSFileTypeCharacterSpecial;
    case S_IFBLK:
        return NSFileTypeBlockSpecial;
    default:
        return NSFileTypeUnknown;
    }
}

PropertyDate dateOf(const timespec& time) {
    return PropertyDate(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

}  // namespace

std::optional<PropertyDictionary> LocalFileManager::attributesOfItemAtPath(const std::string& path,
                                                                           GMErrorOut error) {
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) {
        return failed(errno, error);
    }
    PropertyDictionary attributes;
    attributes.emplace(NSFileType, typeOf(status.st_mode));
    attributes.emplace(NSFileSize, static_cast<std::uint64_t>(status.st_size));
    attributes.emplace(NSFileModificationDate, dateOf(status.st_mtim));
    attributes.emplace(NSFilePosixPermissions, static_cast<std::uint64_t>(status.st_mode & 07777U));
    attributes.emplace(NSFileReferenceCount, static_cast<std::uint64_t>(status.st_nlink));
    attributes.emplace(NSFileOwnerAccountID, static_cast<std::uint64_t>(status.st_uid));
    attributes.emplace(NSFileGroupOwnerAccountID, static_cast<std::uint64_t>(status.st_gid));
    return attributes;
}

std::optional<std::vector<std::string>>
LocalFileManager::contentsOfDirectoryAtPath(const std::string& path, GMErrorOut error) {
    const std::unique_ptr<DIR, DirectoryEnd> directory(::opendir(path.c_str()));
    if (!directory) {
        return failed(errno, error);
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    if (errno != 0) {
        return failed(errno, error);
    }
    return names;
}

std::optional<PropertyDictionary>
LocalFileManager::attributesOfFileSystemForPath(const std::string& path, GMErrorOut error) {
    struct statvfs status = {};
    if (::statvfs(path.c_str(), &status) != 0) {
        return failed(errno, error);
    }
    const auto bytes = [&status](fsblkcnt_t blocks) {
        return static_cast<std::uint64_t>(blocks) * status.f_frsize;
    };
    PropertyDictionary attributes;
    attributes.emplace(NSFileSystemSize, bytes(status.f_blocks));
    attributes.emplace(NSFileSystemFreeSize, bytes(status.f_bavail));
    attributes.emplace(NSFileSystemNodes, static_cast<std::uint64_t>(status.f_files));
    attributes.emplace(NSFileSystemFreeNodes, static_cast<std::uint64_t>(status.f_favail));
    return attributes;
}

}  // namespace quillbox::host
