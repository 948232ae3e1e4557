// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"
#include "Core/Windows/AboutThisDevice.h"

#include <memory>

namespace quillbox {

class NotificationCenter;
class PodController;

/// The controller of the running program, null without one.
extern PodController* g_GlobalPodController;

/// Start and end of the program: first-run defaults, the status item with its menu, the device
/// listener; at quit the volumes and the temporary folder. Works on the platform of `CommonData`.
/// Main thread.
class PodController {
public:
    PodController();
    PodController(const PodController&) = delete;
    PodController& operator=(const PodController&) = delete;
    /// Takes the windows with it.
    ~PodController();

    const std::shared_ptr<Menu>& topMenu() const { return topMenu_; }

    /// Starts everything, once. When it returns the device listener is at work.
    void awakeFromNib();
    /// Once, when the program runs and has been started: tells about earlier crashes.
    void applicationDidFinishLaunching();

    /// Closing a window never ends the program.
    static bool applicationShouldTerminateAfterLastWindowClosed() { return false; }

    /// Unmounts every device and removes the temporary file or folder that the store names. To be
    /// called at the end, after `NSApplicationWillTerminateNotification` was posted.
    void applicationWillTerminate();

    // Actions of the top menu --------------------------------------------------------------------

    void showPreferencesController(const void* sender);
    void showAboutThisApp(const void* sender);
    void showWelcomeScreen(const void* sender);
    /// Opens the address that the store names, else the built-in one.
    void openwHelp(const void* sender);
    /// Asks for the end of the program.
    void quitApp(const void* sender);

    static bool isStartupItem();
    static void setStartupItem(bool isStartup);

private:
    using Action = void (PodController::*)(const void* sender);

    std::shared_ptr<Menu> makeTopMenu();

    NotificationCenter& notifications_;
    SharedDeviceInformationWindow deviceInformationWindow_;
    std::shared_ptr<Menu> topMenu_;
    std::shared_ptr<StatusItem> statusItem_;
};

}  // namespace quillbox
