// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/LeftFolders.h"

#include <sys/stat.h>
#include <unistd.h>

namespace quillbox::volume {

std::optional<LeftFolders::Identity> LeftFolders::identityOf(const std::string& path) {
    struct stat attributes = {};
    return ::lstat(path.c_str(), &attributes) == 0 && S_ISDIR(attributes.st_mode)
               ? std::optional{Identity{attributes.st_dev, attributes.st_ino}}
               : std::nullopt;
}

void LeftFolders::add(const std::string& path) {
    const std::lock_guard lock(mutex_);
    if (const auto identity = identityOf(path)) {
        folders_.insert_or_assign(path, *identity);
    }
}

bool LeftFolders::take(const std::string& path) {
    const std::lock_guard lock(mutex_);
    const auto found = folders_.find(path);
    if (found == folders_.end()) {
        return false;
    }
    const bool isOurs = identityOf(path) == found->second;
    folders_.erase(found);
    return isOurs;
}

void LeftFolders::removeEmpty() {
    const std::lock_guard lock(mutex_);
    std::erase_if(folders_, [](const auto& folder) {
        const auto& [path, identity] = folder;
        return identityOf(path) != identity || ::rmdir(path.c_str()) == 0;
    });
}

}  // namespace quillbox::volume
