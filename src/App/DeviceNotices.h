// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Desktop/Desktop.h"
#include "Linux/Device/DeviceLibrary.h"
#include "Linux/Device/Lockdown/TrustState.h"
#include "Linux/Host/MainLoop.h"

#include <memory>
#include <string>

namespace quillbox::app {

/// Shows on the desktop what attached devices wait for, also those that have no entry in the menu.
/// Main thread; within the life of the desktop.
class DeviceNotices {
public:
    DeviceNotices(desktop::Desktop& desktop, host::MainLoop& loop)
        : desktop_(desktop), loop_(loop), self_(std::make_shared<DeviceNotices*>(this)) {}

    ~DeviceNotices() { *self_ = nullptr; }

    DeviceNotices(const DeviceNotices&) = delete;
    DeviceNotices& operator=(const DeviceNotices&) = delete;

    /// Whom the device library tells; any thread.
    DeviceLibrary::TrustObserver observer();

private:
    void show(AMDeviceRef device, const std::string& name, DeviceTrustState state);

    desktop::Desktop& desktop_;
    host::MainLoop& loop_;
    std::shared_ptr<DeviceNotices*> self_;
};

}  // namespace quillbox::app
