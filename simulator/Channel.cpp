// SPDX-License-Identifier: GPL-3.0-or-later
#include "Channel.h"

namespace quillbox::simulator {

void Channel::close() {
    {
        const std::scoped_lock lock{mutex_};
        closed_ = true;
    }
    changed_.notify_all();
}

bool Channel::waitClosed(std::chrono::milliseconds longest) {
    std::unique_lock lock{mutex_};
    return changed_.wait_for(lock, longest, [this] { return closed_.load(); });
}

void Channel::waitClosed() {
    std::unique_lock lock{mutex_};
    changed_.wait(lock, [this] { return closed_.load(); });
}

}  // namespace quillbox::simulator
