// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <set>
#include <string>

namespace quillbox::volume {

/// Folders that we made for volumes and could not remove: a program that is not held back by their
/// modes was faster, and put something into the bare folder. They stay ours. Any thread.
class LeftFolders {
public:
    void add(const std::string& path);
    /// Whether a folder is one of them; from now on it is the caller's.
    bool take(const std::string& path);
    /// Removes those that are empty by now.
    void removeEmpty();

private:
    std::mutex mutex_;
    std::set<std::string> paths_;
};

}  // namespace quillbox::volume
