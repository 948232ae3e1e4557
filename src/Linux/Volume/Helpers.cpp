// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Helpers.h"

#include <utility>

namespace quillbox::volume {

void Helpers::run(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    if (isOver_) {
        return;
    }
    std::erase_if(helpers_, [](Helper& helper) {
        if (!*helper.hasEnded) {
            return false;
        }
        helper.thread.join();
        return true;
    });
    auto hasEnded = std::make_shared<std::atomic<bool>>(false);
    std::thread thread([hasEnded, work = std::move(work)] {
        work();
        *hasEnded = true;
    });
    helpers_.push_back({std::move(thread), std::move(hasEnded)});
}

/// Where there are none any more, there will be none.
std::list<Helpers::Helper> Helpers::takeAll() {
    const std::lock_guard lock(mutex_);
    isOver_ = helpers_.empty();
    return std::exchange(helpers_, {});
}

void Helpers::join() {
    // One may have started another.
    for (auto helpers = takeAll(); !helpers.empty(); helpers = takeAll()) {
        for (Helper& helper : helpers) {
            helper.thread.join();
        }
    }
}

void Helpers::abandon() {
    for (auto helpers = takeAll(); !helpers.empty(); helpers = takeAll()) {
        for (Helper& helper : helpers) {
            helper.thread.detach();
        }
    }
}

}  // namespace quillbox::volume
