// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Windows/WindowController.h"

namespace quillbox {

/// The window that greets the user. One for the process, made on first use and kept. Works on the
/// platform of `CommonData`. Main thread.
class WelcomeController : public WindowController {
public:
    /// Only through `displayWelcomeWindow`.
    explicit WelcomeController(Key key);

    /// Shows the one window, made at the first call.
    static WelcomeController& displayWelcomeWindow();
    /// Forgets the controller and its window.
    static void resetSharedInstance();

    void awakeFromNib();

    // Actions ------------------------------------------------------------------------------------

    /// Whether the window comes at start. The cached flag keeps its value.
    void chkBx_Changed(const void* sender);
    void hideAndContinue(const void* sender);
    void chkBx_Preferences(const void* sender);
    /// Shows the mounted volumes in the file manager.
    void chkBx_revealInFinder(const void* sender);
    /// Empties the store: the next start is a first run. Cached flags and open windows keep what
    /// they hold.
    void resetUserDefaults(const void* sender);

private:
    CheckBox& chkBx_showMenuOnStart_;
    Button& continueBtn_;
};

}  // namespace quillbox
