// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/OwnFiles.h"

#include "Linux/Host/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace quillbox::host {

namespace {

/// Whether somebody else than this user and root can make or rename files in a folder.
bool isSharedFolder(const std::string& folder) {
    struct stat status = {};
    return ::stat(folder.c_str(), &status) != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ||
           (status.st_uid != ::geteuid() && status.st_uid != 0);
}

}  // namespace

FileDescriptor openOwnFile(const std::string& path, int flags, mode_t permissions) {
    FileDescriptor file(
        ::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, permissions));
    if (!file) {
        return {};
    }
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0) {
        return {};
    }
    const bool isOurs = status.st_uid == ::geteuid() && status.st_nlink == 1;
    if (!S_ISREG(status.st_mode) || (!isOurs && isSharedFolder(folderOf(path)))) {
        file.reset();
        errno = EACCES;
    }
    return file;
}

std::int64_t readFully(int descriptor, void* buffer, std::size_t length) {
    std::size_t done = 0;
    while (done < length) {
        const auto count = ::read(descriptor, static_cast<char*>(buffer) + done, length - done);
        if (count == 0) {
            break;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return -1;
        }
        done += static_cast<std::size_t>(count);
    }
    return static_cast<std::int64_t>(done);
}

}  // namespace quillbox::host
