// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Desktop/Tray.h"

#include <QDBusConnection>

#include <map>
#include <string>
#include <vector>

namespace quillbox::desktop {

/// What the user is told without a window: what devices wait for, in the tool tip and once as a
/// notification of the desktop, and what the program waits for. Main thread.
class Notices {
public:
    /// The tray must outlive this.
    explicit Notices(Tray& tray);

    /// A device has something to say of itself; empty ends that. `needsUser` where the user can do
    /// something about it: that is told once, as long as the text stays the same. A device is known
    /// by its key.
    void setDevice(const void* device, const std::string& name, const std::string& state,
                   bool needsUser);
    /// What the program is waiting for; empty ends that.
    void setWait(const std::string& what);

private:
    struct Device {
        std::string name;
        std::string state;
        bool needsUser = false;
    };

    void show();
    void notify(const Device& device);

    Tray& tray_;
    QDBusConnection bus_;
    std::map<const void*, Device> devices_;
    std::vector<std::string> waits_;
};

}  // namespace quillbox::desktop
