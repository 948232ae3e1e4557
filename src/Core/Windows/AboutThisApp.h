// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Windows/WindowController.h"

namespace quillbox {

/// The window that tells the program's version. One for the process, made on first use and kept.
/// Works on the platform of `CommonData`. Main thread.
class AboutThisApp : public WindowController {
public:
    /// Only through `displayAboutThisApp`.
    explicit AboutThisApp(Key key);

    /// Shows the one window, made at the first call.
    static AboutThisApp& displayAboutThisApp();
    /// Forgets the controller and its window.
    static void resetSharedInstance();

    void awakeFromNib();
    /// An action.
    void closeWindow(const void* sender);

private:
    TextField& bundleVersionText_;
};

}  // namespace quillbox
