// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/Workspace.h"
#include "Linux/Desktop/Alerts.h"

class QString;

namespace quillbox::desktop {

/// The user's desktop: its file manager, its browser, and alerts. Paths go to those programs as
/// they are and are never looked at here: they may lie on a volume of a device that does not
/// answer. Main thread.
class DesktopWorkspace final : public Workspace {
public:
    /// Both must outlive this.
    DesktopWorkspace(Alerts& alerts, Log& log) : alerts_(alerts), log_(log) {}

    void openFile(const std::string& path) override;
    void openURL(const std::string& address) override;
    void runAlert(const std::string& title, const std::string& message) override;
    void offerToShow(const std::string& title, const std::string& message,
                     const std::string& path) override;

private:
    void open(const std::string& what);

    Alerts& alerts_;
    Log& log_;
};

}  // namespace quillbox::desktop
