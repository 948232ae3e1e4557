// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"
#include "Core/Platform/RunLoop.h"

#include <functional>
#include <memory>

namespace quillbox::desktop {

/// The way from what the user does to the core: always as a task of the main loop, so that nothing
/// that is chosen while a long wait is served interrupts the work that waits. Asking for the end of
/// the program is the exception: it ends the wait. Main thread.
class Choices {
public:
    Choices(RunLoop& loop, std::function<void()> quit) : loop_(loop), quit_(std::move(quit)) {}

    void post(std::function<void()> work) { loop_.post(std::move(work)); }

    /// An item was chosen in some view of its menu. One that has left its menu by then does
    /// nothing.
    void choose(const std::shared_ptr<MenuItem>& item) {
        if (item->endsProgram()) {
            item->perform();
            return;
        }
        loop_.post([weak = std::weak_ptr(item)] {
            if (const auto chosen = weak.lock(); chosen && chosen->menu() != nullptr) {
                chosen->perform();
            }
        });
    }

    void quit() const { quit_(); }

private:
    RunLoop& loop_;
    std::function<void()> quit_;
};

}  // namespace quillbox::desktop
