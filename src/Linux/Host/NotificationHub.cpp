// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/NotificationHub.h"

#include <algorithm>
#include <utility>

namespace quillbox::host {

void NotificationHub::addObserver(const void* observer, std::string_view name, Handler handler) {
    const auto same =
        std::find_if(observations_.begin(), observations_.end(), [&](const auto& each) {
            return each->observer == observer && each->name == name;
        });
    if (same != observations_.end()) {
        (*same)->handler = std::move(handler);
        return;
    }
    observations_.push_back(std::make_shared<Observation>(
        Observation{observer, std::string(name), std::move(handler), false}));
}

void NotificationHub::removeObserver(const void* observer) {
    std::erase_if(observations_, [observer](const auto& each) {
        each->removed = each->removed || each->observer == observer;
        return each->removed;
    });
}

void NotificationHub::post(const Notification& notification) {
    // Observers come and go while handlers run: the round is what was there at its beginning.
    const auto round = observations_;
    for (const auto& each : round) {
        if (!each->removed && each->name == notification.name) {
            // A copy, since the handler may replace itself while it runs.
            const Handler handler = each->handler;
            handler(notification);
        }
    }
}

}  // namespace quillbox::host
