// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Application.h"
#include "Core/Platform/StatusBar.h"

#include <functional>
#include <utility>

namespace quillbox::host {

/// The program where there is no desktop: nothing comes to the front, and it can be ended.
class HeadlessApplication final : public Application {
public:
    explicit HeadlessApplication(std::function<void()> end) : end_(std::move(end)) {}

    void arrangeInFront() override {}

    void activate(bool /*ignoringOtherApps*/) override {}

    void terminate() override { end_(); }

private:
    const std::function<void()> end_;
};

/// No tray.
class HeadlessStatusBar final : public StatusBar {
public:
    std::shared_ptr<StatusItem> makeStatusItem(const StatusItemSettings& /*settings*/) override {
        return nullptr;
    }
};

}  // namespace quillbox::host
