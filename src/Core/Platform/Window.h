// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quillbox {

/// A message with buttons.
struct Alert {
    std::string messageText;
    std::string informativeText;       ///< what follows from it, in smaller letters
    std::vector<std::string> buttons;  ///< the first is the default one

    friend bool operator==(const Alert&, const Alert&) = default;
};

/// One window of an interface file, made once and shown any number of times: closing it only takes
/// it off the screen. It belongs to its interface file. Main thread only. Nothing here blocks:
/// sheets and alerts stay open while the program goes on.
///
/// A sender is known by identity, says who asked, and may be null.
class Window {
public:
    /// Told the index of the button that ended an alert.
    using AlertEnd = std::function<void(int returnCode)>;

    virtual ~Window() = default;

    /// Shows the window in front of the others of this program, with the keyboard.
    virtual void showWindow(const void* sender) = 0;
    virtual bool isVisible() const = 0;
    /// Closes it as its close button does. Harmless when it is not on the screen.
    virtual void performClose(const void* sender) = 0;
    /// Takes it off the screen without closing it: no handler is called.
    virtual void orderOut(const void* sender) = 0;
    /// Takes the keyboard from its controls, so that an edit in progress is committed.
    virtual void makeFirstResponder() = 0;
    /// Called each time the window is about to close, whoever closes it, before it leaves the
    /// screen. An empty one ends that.
    virtual void setWillCloseHandler(std::function<void()> handler) = 0;

    /// Shows another window of the same file as a sheet of this one; at the end of the sheet nobody
    /// is told. Harmless when it is one already.
    virtual void beginSheet(Window& sheet) = 0;
    /// Ends it as a sheet; it stays on the screen until it is ordered out. Harmless when it is
    /// none.
    virtual void endSheet(Window& sheet) = 0;
    /// Shows an alert as a sheet of this window and returns at once; alerts queue. Without a
    /// display it is a log line, and ends with its default button.
    virtual void beginAlertSheet(const Alert& alert, AlertEnd didEnd) = 0;
};

}  // namespace quillbox
