// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Application.h"
#include "Core/Platform/InterfaceFile.h"
#include "Core/Platform/StatusBar.h"
#include "Core/Platform/Workspace.h"
#include "Linux/Desktop/Desktop.h"
#include "Linux/Host/HeadlessDesktop.h"
#include "Linux/Host/HeadlessWindows.h"
#include "Linux/Host/HeadlessWorkspace.h"
#include "Linux/Host/MainLoop.h"

#include <optional>
#include <string>

namespace quillbox::app {

/// The ports that a user sees, of a desktop or of none. All outlive who holds this.
struct Surface {
    Workspace& workspace;
    InterfaceFiles& interfaceFiles;
    Application& application;
    StatusBar& statusBar;
};

/// What stands for a desktop where there is none: log lines.
class HeadlessSurface {
public:
    HeadlessSurface(host::MainLoop& loop, Log& log)
        : workspace_(log), interfaceFiles_(log), application_([&loop] { loop.quit(); }) {}

    Surface surface() { return {workspace_, interfaceFiles_, application_, statusBar_}; }

private:
    host::HeadlessWorkspace workspace_;
    host::HeadlessWindows interfaceFiles_;
    host::HeadlessApplication application_;
    host::HeadlessStatusBar statusBar_;
};

/// The user's desktop, served while the main loop has nothing else to do.
class DesktopSurface {
public:
    DesktopSurface(host::MainLoop& loop, Log& log, const Bundle& bundle,
                   const std::string& volumesFolder);
    ~DesktopSurface();
    DesktopSurface(const DesktopSurface&) = delete;
    DesktopSurface& operator=(const DesktopSurface&) = delete;

    Surface surface() {
        return {desktop_.workspace(), desktop_.interfaceFiles(), desktop_.application(),
                desktop_.statusBar()};
    }

    desktop::Desktop& desktop() { return desktop_; }

private:
    host::MainLoop& loop_;
    desktop::Desktop desktop_;
};

}  // namespace quillbox::app
