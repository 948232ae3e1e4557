// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/NotificationCenter.h"

#include <memory>
#include <vector>

namespace quillbox::host {

/// Notices inside the process, delivered at once. An observer that is added again under the same
/// name keeps its place and takes the newer handler. Main thread only.
class NotificationHub final : public NotificationCenter {
public:
    void addObserver(const void* observer, std::string_view name, Handler handler) override;
    void removeObserver(const void* observer) override;
    void post(const Notification& notification) override;

private:
    struct Observation {
        const void* observer = nullptr;
        std::string name;
        Handler handler;
        bool removed = false;
    };

    std::vector<std::shared_ptr<Observation>> observations_;
};

}  // namespace quillbox::host
