// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"
#include "Core/Platform/Platform.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox {

class MFDiskFilesystem;
class PodPhone;

/// One attached device as the menu and the volumes see it: its identity, its menu items, and the
/// life of its one volume.
///
/// Ownership: the collection of connected devices holds it; a mounted volume holds it too, through
/// the delegate, until its last call has returned. Threads: main thread, but for `setWillUnmount`
/// and `iPhoneInterface`, which the volume's threads may call. It may end on any thread once
/// `removeConnectedDeviceFromCollection` has run for it; otherwise it ends on the main thread.
class iPodDevice : public std::enable_shared_from_this<iPodDevice> {
    struct Key {};

public:
    /// Makes the device of an open session, puts it into the collection and builds its menu.
    static std::shared_ptr<iPodDevice> initWithIPhone(std::shared_ptr<PodPhone> iPhone);

    /// Only through `initWithIPhone`.
    iPodDevice(Key key, std::shared_ptr<PodPhone> iPhone);
    iPodDevice(const iPodDevice&) = delete;
    iPodDevice& operator=(const iPodDevice&) = delete;
    ~iPodDevice();

    const Platform& platform() const { return platform_; }

    // The collection -----------------------------------------------------------------------------

    /// Ends the volume and the menu entry of the device with this serial number and takes it out of
    /// the collection; with the last one the placeholder item comes back. Harmless for a serial
    /// number that is absent or unknown.
    static void removeConnectedDeviceFromCollection(const std::optional<std::string>& serialNumber);
    /// Asks for an unmount of every device. It removes none, whatever its name says.
    static void removeAllConnectedDevice();

    // Mount --------------------------------------------------------------------------------------

    /// Chooses name, path and options anew and asks for a mount. The answer comes as a notice.
    void startMount();
    /// Asks for the unmount and ends all of this device's observations.
    void stopMount();
    /// A mount that the user asked for: the volume is shown once it is there.
    void mountDevice();
    void didMount(const Notification& notification);
    void didUnmount(const Notification& notification);
    void mountFailed(const Notification& notification);

    // Naming -------------------------------------------------------------------------------------

    /// Chooses the name of the next volume: the custom name where one is wanted, else the device's
    /// own with the selected root behind it, and a number when the name is taken in the volumes
    /// folder. For an application that the catalogue does not hold it is the device's bare name,
    /// taken or not, and `currentMountDiskName` stays empty.
    std::string mountDiskName();
    /// The first of PATH, "PATH 2", "PATH 3", ... that does not exist. It makes nothing.
    std::string createNewFolder(const std::string& path) const;
    /// The file of the next volume's icon. For an application root it is made of the picture in the
    /// area that the session serves at this moment, in one file of the temporary directory that all
    /// devices share; otherwise, and at every failure, it is the program's own. None when that is
    /// not installed. Waits for the device.
    std::optional<std::string> mountDiskIconPath() const;
    /// Whether the option "local" is wanted: everywhere but on a system whose version text holds
    /// "10.4".
    bool needsLocalOption() const;
    /// Makes a folder on the device, or on this computer, with its missing parents, while there is
    /// no session.
    bool createDirectoryAtPath(const std::string& path) const;

    // Menu ---------------------------------------------------------------------------------------

    /// Builds the device's item with its submenu and puts it into the top menu, first among the
    /// devices, in the place of the placeholder item.
    void addMenuForDevice();
    /// Builds the submenu of connection roots anew and selects the one that the session remembers.
    /// With pictures to be loaded first it waits for the device, once for each application.
    void updateChangeConnectionRootMenuItem();
    /// Switches the session to the root of an item of that submenu and mounts anew, to be shown
    /// once it is there. A root that cannot be opened leaves selection and volume as they were, but
    /// no connection works until another root is chosen. Waits for the device.
    void changeConnectionRoot(MenuItem& item);
    /// The picture of an application's item, read from whatever area the session serves at this
    /// moment; none for other roots and where there is no picture. Waits for the device.
    std::optional<Image> getAppMenuItemIcon(const MenuItem& item) const;
    /// Shows the volume in the file manager, if it is mounted.
    void revealInFinder() const;
    void showAboutThisDevice(MenuItem& sender);

    // Identity: asked of the session once, where it answers ---------------------------------------

    std::string deviceName();    ///< "Not available" when the device tells none
    std::string serialNumber();  ///< "Not available" when the device tells none
    std::optional<std::string> firmwareVersion();
    std::optional<std::string> productType();
    std::optional<std::string> deviceClass();
    /// Bytes, as they were when they were first asked; 0 while the device tells none.
    std::int64_t capacity();
    std::int64_t availableDiskSpace();

    // Fields -------------------------------------------------------------------------------------

    /// Null only after it was set so. Any thread.
    std::shared_ptr<PodPhone> iPhoneInterface() const;
    void setIPhoneInterface(std::shared_ptr<PodPhone> iPhone);

    bool isIPhone() const { return isIPhone_; }

    void setIsIPhone(bool isIPhone) { isIPhone_ = isIPhone; }

    bool isSQLiteType() const { return isSQLiteType_; }

    void setIsSQLiteType(bool isSQLiteType) { isSQLiteType_ = isSQLiteType; }

    bool isMounted() const { return isMounted_; }

    void setIsMounted(bool isMounted) { isMounted_ = isMounted; }

    bool isUserChanged() const { return isUserChanged_; }

    /// The title of the root whose opening failed last, until one is open again; else empty. Main
    /// thread.
    const std::string& failedRoot() const { return failedRoot_; }

    /// Any thread.
    bool willUnmount() const { return willUnmount_; }

    /// Any thread.
    void setWillUnmount(bool willUnmount) { willUnmount_ = willUnmount; }

    const std::string& myMountPath() const { return myMountPath_; }

    void setMyMountPath(std::string path) { myMountPath_ = std::move(path); }

    const std::vector<std::string>& myOption() const { return myOption_; }

    void setMyOption(std::vector<std::string> options) { myOption_ = std::move(options); }

    const std::optional<std::string>& currentMountDiskName() const { return currentMountDiskName_; }

    /// The adapter of the current mount; null before the first. It lives as long as the device.
    MFDiskFilesystem* macFuseDisk() const;

    /// The library's object of the current mount; null before the first.
    GMUserFileSystem* gmUserFileSys() const { return gmUserFileSys_.get(); }

    const std::shared_ptr<MenuItem>& mi_deviceMenu() const { return mi_deviceMenu_; }

    void setMi_deviceMenu(std::shared_ptr<MenuItem> item) { mi_deviceMenu_ = std::move(item); }

    const std::shared_ptr<MenuItem>& submi_startMount() const { return submi_startMount_; }

    const std::shared_ptr<MenuItem>& submi_stopMount() const { return submi_stopMount_; }

    const std::shared_ptr<MenuItem>& submi_revealInFinder() const { return submi_revealInFinder_; }

    const std::shared_ptr<MenuItem>& submi_connectionRoot() const { return submi_connectionRoot_; }

    const std::shared_ptr<MenuItem>& submi_selectMenuItem() const { return submi_selectMenuItem_; }

    const std::shared_ptr<MenuItem>& submi_aboutThisDevice() const {
        return submi_aboutThisDevice_;
    }

    /// The item of the selected root; its tag names the root. Null while none is selected.
    const std::shared_ptr<MenuItem>& last_selectMenuItem() const { return last_selectMenuItem_; }

    void setLast_selectMenuItem(std::shared_ptr<MenuItem> item) {
        last_selectMenuItem_ = std::move(item);
    }

private:
    void enterCollection();
    void fillCaches();
    void observe(std::string_view name, void (iPodDevice::*handler)(const Notification&));
    void observeNotices();
    std::vector<std::string> mountOptions() const;
    void showAsMounted(bool isMounted);
    void setStatusImage(const char* resourceName) const;
    /// Gives up what only the main thread may end; from now on the menu items do nothing.
    void leave();
    MenuItem::Action action(void (*work)(iPodDevice&, MenuItem&));
    std::shared_ptr<MenuItem> makeItem(std::string title, void (*work)(iPodDevice&, MenuItem&));

    /// The tag of the selected root, `kRootTagNone` for none.
    std::int32_t selectedRootTag() const;
    std::optional<std::string> rootName(const std::string& deviceName, std::int32_t tag) const;
    std::shared_ptr<MenuItem> makeRootItem(std::string title, std::int32_t tag, Image image);
    void addApplicationItems(Menu& menu, PodPhone& session);
    void addFixedRootItems(Menu& menu, const PodPhone& session);
    void selectRemembered(const std::shared_ptr<MenuItem>& item);

    const Platform& platform_;
    mutable std::mutex interfaceMutex_;  ///< guards `iPhoneInterface_`
    std::shared_ptr<PodPhone> iPhoneInterface_;
    bool isIPhone_ = true;
    bool isSQLiteType_ = false;
    std::atomic<bool> willUnmount_{false};
    bool isMounted_ = false;
    bool isUserChanged_ = false;
    std::string failedRoot_;
    bool hasLeft_ = false;

    std::optional<std::string> deviceFirmwareVersion_;
    std::optional<std::string> deviceName_;
    std::optional<std::string> deviceClass_;
    std::optional<std::string> productType_;
    std::optional<std::string> deviceSerialNumber_;
    std::int64_t deviceTotalCapacity_ = 0;
    std::int64_t deviceFreeCapacity_ = 0;

    std::string myMountPath_;
    std::vector<std::string> myOption_;
    std::optional<std::string> currentMountDiskName_;
    std::unique_ptr<GMUserFileSystem> gmUserFileSys_;
    /// Every adapter that this device ever handed out, the current one last: a volume that is not
    /// quite gone may still call an older one. One pointer's worth for each mount.
    std::vector<std::shared_ptr<MFDiskFilesystem>> adapters_;

    std::shared_ptr<MenuItem> mi_deviceMenu_;
    std::shared_ptr<MenuItem> submi_startMount_;
    std::shared_ptr<MenuItem> submi_stopMount_;
    std::shared_ptr<MenuItem> submi_revealInFinder_;
    std::shared_ptr<MenuItem> submi_connectionRoot_;
    std::shared_ptr<MenuItem> submi_selectMenuItem_;
    std::shared_ptr<MenuItem> submi_aboutThisDevice_;
    std::shared_ptr<MenuItem> last_selectMenuItem_;
};

}  // namespace quillbox
