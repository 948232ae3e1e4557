// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/LeftFolders.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace quillbox::volume {

/// The folder that a volume is shown at: made where there is none, and removed only where we made
/// it, now or for an earlier volume. `remove` is for any thread, at any time after `prepare`.
class MountPoint {
public:
    /// The path is made absolute and free of links, as the mount table shows it, by `prepare`.
    /// What cannot be removed is handed to `left`.
    MountPoint(std::string path, std::shared_ptr<LeftFolders> left)
        : path_(std::move(path)), left_(std::move(left)) {}

    /// Makes the folder, or finds that there is an empty one; else an errno number: ENOTEMPTY for
    /// a folder with content, ENOTDIR for something else, or what making it gave.
    int prepare();
    /// Removes the folder, where `prepare` made it and it is empty. Harmless otherwise. When it
    /// returns the folder is gone, whichever thread removed it.
    void remove();

    const std::string& path() const { return path_; }

private:
    std::string path_;
    const std::shared_ptr<LeftFolders> left_;
    std::mutex mutex_;
    bool isOurs_ = false;  ///< guarded by `mutex_`
};

}  // namespace quillbox::volume
