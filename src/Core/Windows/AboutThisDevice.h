// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Volumes/DeviceInformationWindow.h"
#include "Core/Windows/WindowController.h"

#include <array>
#include <cstddef>

namespace quillbox {

class iPodDevice;

/// The window that tells what is known about one device, with a sheet of further values. One for
/// the process, reused for whichever device asked last; it holds no reference to a device. Made on
/// first use and kept. Works on the platform of `CommonData`. Main thread; filling it asks the
/// device, which is a long wait.
class AboutThisDevice : public WindowController {
public:
    /// Only through `displayAboutThisDevice`.
    explicit AboutThisDevice(Key key);

    static constexpr std::size_t kSheetFields = 26;

    /// Shows the one window, made at the first call, filled anew for a device; null for none.
    static AboutThisDevice& displayAboutThisDevice(iPodDevice* device);
    /// Harmless when there is no window.
    static void closeAboutThisDeviceWindow();
    /// Forgets the controller and its window.
    static void resetSharedInstance();

    /// Fills every field, the sheet's too. A null device has no value.
    void updateInfobyDevice(iPodDevice* device);
    void setupOther(iPodDevice* device);

    // Actions ------------------------------------------------------------------------------------

    /// Opens the sheet.
    void showMoreInfoWindow(const void* sender);
    void endWin_moreInfo(const void* sender);
    /// Closes the sheet and the window.
    void closeWindow(const void* sender);

private:
    /// The controls of the main window, by the names of their outlets.
    struct Outlets {
        explicit Outlets(InterfaceFile& file);

        Window& win_moreInfo;
        ImageView& iv_deviceIcon;
        TextField& tf_deviceName;
        TextField& tf_capacity;
        TextField& tf_iosVersion;
        TextField& tf_serialNumber;
        TextField& tf_phoneNumber;
        TextField& tf_firmwareVersion;
        TextField& tf_modelNumber;
        TextField& tf_UDID;
        TextField& tf_deviceCapacity_used;
        TextField& tf_deviceCapacity_free;
        TextField& tf_hardDiskCapacity_used;
        TextField& tf_hardDiskCapacity_free;
        LevelBar& pi_deviceCapacity;
        LevelBar& pi_hardDiskCapacity;
    };

    void showIdentity(iPodDevice* device);
    void showDeviceUsage(iPodDevice* device);
    void showDiskUsage();
    void showPicture(iPodDevice* device);

    const Outlets outlets_;
    std::array<TextField*, kSheetFields> sheetFields_{};
};

/// The shared window as devices know it.
class SharedDeviceInformationWindow final : public DeviceInformationWindow {
public:
    void displayAboutThisDevice(iPodDevice& device) override {
        AboutThisDevice::displayAboutThisDevice(&device);
    }

    void closeAboutThisDeviceWindow() override { AboutThisDevice::closeAboutThisDeviceWindow(); }
};

}  // namespace quillbox
