// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/Nodes.h"

#include <chrono>
#include <mutex>
#include <string>

namespace quillbox::volume {

/// The name that was last looked up and not there. A program looks before it makes a file, the
/// kernel looks again, and the delegate is asked a third time: the device need not be. Any thread.
class AbsentName {
public:
    void note(NodeId parent, const std::string& name) {
        const std::lock_guard lock(mutex_);
        parent_ = parent;
        name_ = name;
        noted_ = Clock::now();
    }

    /// Whether that was this name, just now.
    bool isStill(NodeId parent, const std::string& name) {
        constexpr std::chrono::milliseconds kJustNow{20};
        const std::lock_guard lock(mutex_);
        return parent_ == parent && name_ == name && Clock::now() - noted_ <= kJustNow;
    }

    /// Whether that was this name, a moment ago. It is forgotten, whichever it was: something is
    /// about to be made.
    bool take(NodeId parent, const std::string& name) {
        constexpr std::chrono::milliseconds kMoment{100};
        const std::lock_guard lock(mutex_);
        const bool isIt = parent_ == parent && name_ == name && Clock::now() - noted_ <= kMoment;
        parent_ = 0;
        return isIt;
    }

    void forget() { take(0, {}); }

private:
    using Clock = std::chrono::steady_clock;

    std::mutex mutex_;
    NodeId parent_ = 0;  ///< no node
    std::string name_;
    Clock::time_point noted_{};
};

}  // namespace quillbox::volume
