// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/LeftFolders.h"

#include <cerrno>
#include <unistd.h>

namespace quillbox::volume {

void LeftFolders::add(const std::string& path) {
    const std::lock_guard lock(mutex_);
    paths_.insert(path);
}

bool LeftFolders::take(const std::string& path) {
    const std::lock_guard lock(mutex_);
    return paths_.erase(path) > 0;
}

void LeftFolders::removeEmpty() {
    const std::lock_guard lock(mutex_);
    std::erase_if(paths_, [](const std::string& path) {
        return ::rmdir(path.c_str()) == 0 || errno == ENOENT;
    });
}

}  // namespace quillbox::volume
