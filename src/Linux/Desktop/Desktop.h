// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Application.h"
#include "Core/Platform/Bundle.h"
#include "Core/Platform/InterfaceFile.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/RunLoop.h"
#include "Core/Platform/StatusBar.h"
#include "Core/Platform/Workspace.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quillbox::desktop {

/// The program's place on the user's desktop: status item, windows, alerts, file manager. Once in
/// a process; main thread. To be destroyed after all that it handed out.
class Desktop {
public:
    /// `applicationId` names the desktop entry; `quit` asks for the end of the program, also from
    /// within a long wait. `whyNoDisplay` must have found a display. All references must outlive
    /// this.
    Desktop(RunLoop& loop, Log& log, const Bundle& bundle, const std::string& applicationId,
            const std::string& volumesFolder, std::function<void()> quit);
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    StatusBar& statusBar();
    InterfaceFiles& interfaceFiles();
    Application& application();
    Workspace& workspace();

    /// Serves the desktop until one of the descriptors can be read or the deadline is over. When
    /// the display has gone it asks for the end of the program.
    void serve(const std::vector<int>& descriptors, std::chrono::steady_clock::time_point deadline);

    /// What a device that cannot be used says of itself, for the tool tip; where the user can do
    /// something about it, once as a notification too. An empty state ends that.
    void showDeviceState(const void* device, const std::string& name, const std::string& state,
                         bool needsUser);
    /// What the main thread is waiting for, for the tool tip; empty: nothing any more.
    void showWait(const std::string& what);

    /// Shows the menu's own window where the desktop has no tray; whether it did.
    bool showMenuWindow();

private:
    class Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace quillbox::desktop
