// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace quillbox::app {

/// Ends the program in good order where a library ends the process: the desktop's does so, by
/// `exit` on the main thread, when its display is lost. One at a time; main thread.
class ExitGuard {
public:
    /// `end` takes the program down as far as it can from wherever it is; the process ends with
    /// status 0 after it.
    explicit ExitGuard(std::function<void()> end);
    /// An exit from now on is one.
    ~ExitGuard();
    ExitGuard(const ExitGuard&) = delete;
    ExitGuard& operator=(const ExitGuard&) = delete;
};

}  // namespace quillbox::app
