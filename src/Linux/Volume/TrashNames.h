// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace quillbox::volume {

/// The names that desktops try at the top of every volume in search of a trash folder: ".Trash" and
/// ".Trash-UID". They count as absent without a question to the device, and none is ever made
/// there, unless a listing of the top has shown that the device really has one. Any thread.
class TrashNames {
public:
    static bool isTrashName(std::string_view name) {
        constexpr std::string_view kPrefix = ".Trash";
        if (!name.starts_with(kPrefix)) {
            return false;
        }
        name.remove_prefix(kPrefix.size());
        return name.empty() || (name.size() > 1 && name.front() == '-' &&
                                name.find_first_not_of("0123456789", 1) == std::string_view::npos);
    }

    bool isAbsent(const std::string& name) const {
        if (!isTrashName(name)) {
            return false;
        }
        const std::lock_guard lock(mutex_);
        return !seen_.contains(name);
    }

    void isListed(const std::string& name) {
        if (isTrashName(name)) {
            const std::lock_guard lock(mutex_);
            seen_.insert(name);
        }
    }

private:
    mutable std::mutex mutex_;
    std::set<std::string, std::less<>> seen_;
};

}  // namespace quillbox::volume
