// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/LogLine.h"
#include "Core/Platform/PathText.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/DeviceInformationWindow.h"
#include "Core/Volumes/MFDiskFilesystem.h"
#include "Core/Volumes/VolumePath.h"
#include "Core/Volumes/iPodDevice.h"

#include <stdexcept>

namespace quillbox {

void iPodDevice::startMount() {
    logLine(platform_.log, LogLevel::Info, "startMount");
    observeNotices();

    myMountPath_ = volumePath(platform_.files.volumesFolder(), mountDiskName());
    myOption_ = mountOptions();
    adapters_.push_back(MFDiskFilesystem::initWithIPodDevice(*this));
    // The volume holds the device through this pointer, and with it the adapter and the session.
    const std::shared_ptr<GMUserFileSystemDelegate> delegate(shared_from_this(),
                                                             adapters_.back().get());
    gmUserFileSys_ = platform_.fileSystems.initWithDelegate(delegate, false);
    gmUserFileSys_->mountAtPath(myMountPath_, myOption_);

    platform_.notifications.addObserver(
        this, NSApplicationWillTerminateNotification,
        [weak = weak_from_this()](const Notification& /*notification*/) {
            if (const auto device = weak.lock()) {
                device->stopMount();
            }
        });
}

void iPodDevice::stopMount() {
    logLine(platform_.log, LogLevel::Info, "stopMount");
    if (gmUserFileSys_) {
        gmUserFileSys_->unmount();
    }
    platform_.notifications.removeObserver(this);
}

void iPodDevice::mountDevice() {
    isMounted_ = false;
    isUserChanged_ = true;
    startMount();
}

void iPodDevice::observe(std::string_view name, void (iPodDevice::*handler)(const Notification&)) {
    platform_.notifications.addObserver(
        this, name, [weak = weak_from_this(), handler](const Notification& notification) {
            if (const auto device = weak.lock()) {
                ((*device).*handler)(notification);
            }
        });
}

// From any sender, on purpose: every device between its start and its stop hears of every volume.
void iPodDevice::observeNotices() {
    observe(kGMUserFileSystemMountFailed, &iPodDevice::mountFailed);
    observe(kGMUserFileSystemDidMount, &iPodDevice::didMount);
    observe(kGMUserFileSystemDidUnmount, &iPodDevice::didUnmount);
}

std::vector<std::string> iPodDevice::mountOptions() const {
    const auto icon = isShowAppIconWhenMounted_
                          ? mountDiskIconPath()
                          : platform_.bundle.pathForResource("QuillboxIcon", "icns");
    std::vector<std::string> options{"volicon=" + icon.value_or("(null)"),
                                     "volname=" + lastPathComponent(myMountPath_), "direct_io"};
    if (platform_.preferences.integerForKey(setting_mountDiskMode) == 0) {
        options.emplace_back("allow_other");
        if (needsLocalOption()) {
            options.emplace_back("local");
        }
    }
    return options;
}

void iPodDevice::showAsMounted(bool isMounted) {
    submi_startMount_->setEnabled(!isMounted);
    submi_stopMount_->setEnabled(isMounted);
    submi_revealInFinder_->setEnabled(isMounted);
    submi_connectionRoot_->setEnabled(isMounted);
    submi_aboutThisDevice_->setEnabled(isMounted);
}

void iPodDevice::setStatusImage(const char* resourceName) const {
    if (const auto& item = CommonData::sharedInstance().statusItem()) {
        item->setImage(Image{resourceName, {}});
    }
}

void iPodDevice::didMount(const Notification& /*notification*/) {
    auto& log = platform_.log;
    logLine(log, LogLevel::Info, "Got didMount notification.");
    isMounted_ = true;
    showAsMounted(true);
    setStatusImage("16x16on");
    if (isUserChanged_) {
        isUserChanged_ = false;
        revealInFinder();
    }
    try {
        if (const auto session = iPhoneInterface()) {
            session->saveConnectionPoint();
        }
    } catch (const std::out_of_range&) {
        logLine(log, LogLevel::Warning,
                "The connection root is not saved: the application list does not hold it.");
    }
}

void iPodDevice::didUnmount(const Notification& notification) {
    logLine(platform_.log, LogLevel::Info, "Got didUnmount notification. ",
            description(notification));
    auto& common = CommonData::sharedInstance();
    if (willUnmount_) {
        showAsMounted(false);
        isMounted_ = false;
        if (common.allDevicesAreUnmounted()) {
            setStatusImage("16x16off");
        }
    }
    willUnmount_ = false;
    if (auto* window = common.deviceInformationWindow()) {
        window->closeAboutThisDeviceWindow();
    }
}

void iPodDevice::mountFailed(const Notification& notification) {
    auto& log = platform_.log;
    logLine(log, LogLevel::Warning, "Got mountFailed notification.");
    const auto found = notification.userInfo.find(std::string(kGMUserFileSystemErrorKey));
    if (found == notification.userInfo.end()) {
        logLine(log, LogLevel::Warning, "kGMUserFileSystem Error: (null), userInfo=(null)");
        platform_.workspace.runAlert("Mount Failed", "");
        return;
    }
    const NSError& error = found->second;
    PropertyDictionary details;
    for (const auto& [key, text] : error.userInfo) {
        details.emplace(key, text);
    }
    logLine(log, LogLevel::Warning, "kGMUserFileSystem Error: ", error, ", userInfo=", details);
    platform_.workspace.runAlert("Mount Failed", error.localizedDescription);
}

}  // namespace quillbox
