// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"

#include <functional>
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
    /// Makes the status item that shows this menu; null where there is no tray.
    using StatusItemMaker =
        std::function<std::shared_ptr<StatusItem>(const std::shared_ptr<Menu>& menu)>;

    /// `makeStatusItem` may be empty (no display).
    explicit PodController(StatusItemMaker makeStatusItem = {});
    PodController(const PodController&) = delete;
    PodController& operator=(const PodController&) = delete;
    ~PodController();

    const std::shared_ptr<Menu>& topMenu() const { return topMenu_; }

    /// Starts everything, once. When it returns the device listener is at work.
    void awakeFromNib();
    /// Unmounts every device and removes the temporary file or folder that the store names. To be
    /// called at the end, after `NSApplicationWillTerminateNotification` was posted.
    void applicationWillTerminate();

    static bool isStartupItem();
    static void setStartupItem(bool isStartup);

private:
    NotificationCenter& notifications_;
    StatusItemMaker makeStatusItem_;
    std::shared_ptr<Menu> topMenu_;
    std::shared_ptr<StatusItem> statusItem_;
};

}  // namespace quillbox
