// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

class iPodDevice;

/// The one window that shows a device's identity, as far as a volume's life concerns it. Main
/// thread.
class DeviceInformationWindow {
public:
    virtual ~DeviceInformationWindow() = default;

    virtual void displayAboutThisDevice(iPodDevice& device) = 0;
    /// Harmless when the window is not open.
    virtual void closeAboutThisDeviceWindow() = 0;
};

}  // namespace quillbox
