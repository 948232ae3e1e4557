// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/ExitGuard.h"

#include <cstdlib>
#include <memory>
#include <utility>

namespace quillbox::app {

namespace {

/// Never destroyed: it is looked at when the process ends.
std::function<void()>& guarded() {
    static auto& end = *std::make_unique<std::function<void()>>().release();
    return end;
}

void atExit() {
    if (const auto end = std::exchange(guarded(), {})) {
        end();
        std::_Exit(EXIT_SUCCESS);
    }
}

}  // namespace

ExitGuard::ExitGuard(std::function<void()> end) {
    [[maybe_unused]] static const int registered = std::atexit(atExit);
    guarded() = std::move(end);
}

ExitGuard::~ExitGuard() {
    guarded() = {};
}

}  // namespace quillbox::app
