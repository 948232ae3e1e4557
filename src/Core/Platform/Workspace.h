// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quillbox {

/// The desktop around the program. Main thread; never blocks.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Shows a file or folder in the desktop's file manager.
    virtual void openFile(const std::string& path) = 0;
    /// Opens an address with the program that the desktop has for it.
    virtual void openURL(const std::string& address) = 0;
    /// Shows one alert with its default button; alerts queue. Without a display it is a log line.
    virtual void runAlert(const std::string& title, const std::string& message) = 0;
    /// The same with a second button, which shows a file or folder in the file manager.
    virtual void offerToShow(const std::string& title, const std::string& message,
                             const std::string& path) = 0;
};

}  // namespace quillbox
