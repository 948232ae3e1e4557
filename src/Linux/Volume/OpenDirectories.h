// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/OpenFiles.h"

#include <memory>
#include <string>
#include <vector>

namespace quillbox::volume {

/// A listing as it was when it was taken: whole, in the delegate's order, without "." and "..".
using Listing = std::shared_ptr<const std::vector<std::string>>;

/// One open directory.
struct OpenDirectory {
    NodeId node = 0;
    Listing listing;
    bool isStarted = false;  ///< something was read: a read from the start is a rewind
};

/// The directories that programs have open. Any thread.
class OpenDirectories {
public:
    HandleId add(OpenDirectory directory) {
        const std::lock_guard lock(mutex_);
        const HandleId handle = next_++;
        directories_.emplace(handle, std::move(directory));
        return handle;
    }

    /// The directory as it stands, marked as started from here on.
    std::optional<OpenDirectory> start(HandleId handle) {
        const std::lock_guard lock(mutex_);
        const auto found = directories_.find(handle);
        if (found == directories_.end()) {
            return std::nullopt;
        }
        OpenDirectory directory = found->second;
        found->second.isStarted = true;
        return directory;
    }

    void refresh(HandleId handle, Listing listing) {
        const std::lock_guard lock(mutex_);
        const auto found = directories_.find(handle);
        if (found != directories_.end()) {
            found->second.listing = std::move(listing);
        }
    }

    std::optional<OpenDirectory> take(HandleId handle) {
        const std::lock_guard lock(mutex_);
        const auto found = directories_.find(handle);
        if (found == directories_.end()) {
            return std::nullopt;
        }
        OpenDirectory directory = std::move(found->second);
        directories_.erase(found);
        return directory;
    }

private:
    mutable std::mutex mutex_;
    HandleId next_ = 1;
    std::map<HandleId, OpenDirectory> directories_;
};

}  // namespace quillbox::volume
