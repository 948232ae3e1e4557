// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"
#include "Core/Platform/Platform.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace quillbox {

class DeviceInformationWindow;
class iPodDevice;

/// The connected devices by serial number; the collection owns them.
using ConnectedDevices = std::map<std::string, std::shared_ptr<iPodDevice>>;

/// The state that the whole process shares. Main thread only.
class CommonData {
public:
    /// The platform that the shared instance and the class-level operations of the core work on.
    /// Before the first `sharedInstance`; it must outlive the process or `resetSharedInstance`.
    static void setPlatform(const Platform& platform);
    /// The one instance, made at the first call. Throws `std::logic_error` without a platform.
    static CommonData& sharedInstance();
    /// Forgets the instance and the platform; for tests and for the end of the program.
    static void resetSharedInstance();

    explicit CommonData(const Platform& platform);

    const Platform& platform() const { return platform_; }

    /// Null only after it was set so.
    const std::shared_ptr<ConnectedDevices>& md_connectedDevices() const {
        return md_connectedDevices_;
    }

    void setMd_connectedDevices(std::shared_ptr<ConnectedDevices> devices) {
        md_connectedDevices_ = std::move(devices);
    }

    /// The devices of the collection in its order; empty when it is absent. A copy, so that the
    /// collection may change during a walk.
    std::vector<std::shared_ptr<iPodDevice>> connectedDevices() const;

    /// The menu of the status item; null before start-up.
    const std::shared_ptr<Menu>& topMenu() const { return topMenu_; }

    void setTopMenu(std::shared_ptr<Menu> menu) { topMenu_ = std::move(menu); }

    /// Null where there is no tray, or before start-up.
    const std::shared_ptr<StatusItem>& statusItem() const { return statusItem_; }

    void setStatusItem(std::shared_ptr<StatusItem> item) { statusItem_ = std::move(item); }

    /// Not owned; null where no window has been set.
    DeviceInformationWindow* deviceInformationWindow() const { return deviceInformationWindow_; }

    void setDeviceInformationWindow(DeviceInformationWindow* window) {
        deviceInformationWindow_ = window;
    }

    /// File name extensions by kind, with their dots.
    const std::vector<std::string>& pictureTypes() const { return pictureTypes_; }

    const std::vector<std::string>& videoTypes() const { return videoTypes_; }

    const std::vector<std::string>& audioTypes() const { return audioTypes_; }

    void setPictureTypes(std::vector<std::string> types) { pictureTypes_ = std::move(types); }

    void setVideoTypes(std::vector<std::string> types) { videoTypes_ = std::move(types); }

    void setAudioTypes(std::vector<std::string> types) { audioTypes_ = std::move(types); }

    /// The setting as the store holds it at this moment.
    static bool isChangeNameOnCopyImages2DCIM();

    /// True without a collection and with an empty one.
    bool allDevicesAreUnmounted() const;
    /// Shows every mounted volume in the file manager.
    void revealInFinder() const;
    /// Asks for an unmount of every device; the entries stay.
    void disconnectAllDevices() const;

    /// The disabled item "No iPhones Connected..." that stands in for the devices.
    static std::shared_ptr<MenuItem> makePlaceholderItem();

private:
    const Platform& platform_;
    std::shared_ptr<ConnectedDevices> md_connectedDevices_;
    std::shared_ptr<Menu> topMenu_;
    std::shared_ptr<StatusItem> statusItem_;
    DeviceInformationWindow* deviceInformationWindow_ = nullptr;
    std::vector<std::string> pictureTypes_;
    std::vector<std::string> videoTypes_;
    std::vector<std::string> audioTypes_;
};

/// The title of the item that stands in the top menu while no device is connected.
inline constexpr std::string_view kPlaceholderTitle = "No iPhones Connected...";
/// Where devices, and the item that stands in for them, are put into the top menu.
inline constexpr std::size_t kDeviceMenuIndex = 3;

}  // namespace quillbox
