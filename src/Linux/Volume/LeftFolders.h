// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

namespace quillbox::volume {

/// Folders that we made for volumes and could not remove: a program that is not held back by their
/// modes was faster, and put something into the bare folder. They stay ours; another
/// folder that was put in the place of one is not. Any thread.
class LeftFolders {
public:
    void add(const std::string& path);
    /// Whether a folder is one of them; from now on it is the caller's.
    bool take(const std::string& path);
    /// Removes those that are empty by now.
    void removeEmpty();

private:
    using Identity = std::pair<dev_t, ino_t>;

    static std::optional<Identity> identityOf(const std::string& path);

    std::mutex mutex_;
    std::map<std::string, Identity> folders_;
};

}  // namespace quillbox::volume
