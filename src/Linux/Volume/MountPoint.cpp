// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/MountPoint.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quillbox::volume {
namespace {

constexpr mode_t kFolderMode = 0755;

}  // namespace

int MountPoint::prepare() {
    std::error_code error;
    if (::mkdir(path_.c_str(), kFolderMode) == 0) {
        const std::lock_guard lock(mutex_);
        isOurs_ = true;
    } else if (errno != EEXIST) {
        return errno;
    } else {
        const auto status = std::filesystem::symlink_status(path_, error);
        if (error) {
            return error.value();
        }
        if (!std::filesystem::is_directory(status)) {
            return ENOTDIR;
        }
        const std::filesystem::directory_iterator entries(path_, error);
        if (error) {
            return error.value();
        }
        if (entries != std::filesystem::directory_iterator()) {
            return ENOTEMPTY;
        }
    }
    const auto canonical = std::filesystem::canonical(path_, error);
    if (error) {
        remove();
        return error.value();
    }
    path_ = canonical.string();
    if (left_->take(path_)) {
        const std::lock_guard lock(mutex_);
        isOurs_ = true;
    }
    return 0;
}

void MountPoint::remove() {
    const std::lock_guard lock(mutex_);
    if (std::exchange(isOurs_, false) && ::rmdir(path_.c_str()) != 0 && errno != ENOENT) {
        left_->add(path_);
    }
}

}  // namespace quillbox::volume
