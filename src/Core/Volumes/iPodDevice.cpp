// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Volumes/iPodDevice.h"

#include "Core/Platform/LogLine.h"
#include "Core/Session/PodPhone.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/NotificationNames.h"

namespace quillbox {

namespace {

constexpr const char* kNotAvailable = "Not available";

/// A value that a session tells as text; none without a session.
std::optional<std::string> textOf(const std::shared_ptr<PodPhone>& session,
                                  std::optional<PropertyValue> (PodPhone::*value)()) {
    const auto told = session ? ((*session).*value)() : std::nullopt;
    return told && told->string() != nullptr ? std::optional(*told->string()) : std::nullopt;
}

/// A figure that a session tells; 0 without a session.
std::int64_t figureOf(const std::shared_ptr<PodPhone>& session,
                      std::uint64_t (PodPhone::*figure)()) {
    return session ? static_cast<std::int64_t>(((*session).*figure)()) : 0;
}

}  // namespace

std::shared_ptr<iPodDevice> iPodDevice::initWithIPhone(std::shared_ptr<PodPhone> iPhone) {
    auto device = std::make_shared<iPodDevice>(Key{}, std::move(iPhone));
    device->enterCollection();
    device->fillCaches();
    device->addMenuForDevice();
    return device;
}

iPodDevice::iPodDevice(Key /*key*/, std::shared_ptr<PodPhone> iPhone)
    : platform_(iPhone->platform()), iPhoneInterface_(std::move(iPhone)) {
    // A device that was replaced while it observed may have left its observations behind, and this
    // one may have been given its address.
    platform_.notifications.removeObserver(this);
}

iPodDevice::~iPodDevice() = default;

std::shared_ptr<PodPhone> iPodDevice::iPhoneInterface() const {
    const std::lock_guard guard(interfaceMutex_);
    return iPhoneInterface_;
}

void iPodDevice::setIPhoneInterface(std::shared_ptr<PodPhone> iPhone) {
    const std::lock_guard guard(interfaceMutex_);
    iPhoneInterface_.swap(iPhone);  // the old session ends behind the lock
}

void iPodDevice::enterCollection() {
    if (const auto& devices = CommonData::sharedInstance().md_connectedDevices()) {
        devices->insert_or_assign(serialNumber(), shared_from_this());
    }
}

void iPodDevice::fillCaches() {
    deviceName();
    serialNumber();
    firmwareVersion();
    capacity();
    availableDiskSpace();
    deviceClass();
    productType();
}

void iPodDevice::removeConnectedDeviceFromCollection(
    const std::optional<std::string>& serialNumber) {
    auto& common = CommonData::sharedInstance();
    const auto& platform = common.platform();
    logLine(platform.log, LogLevel::Info, "removeConnectedDeviceFromCollection:", serialNumber);
    const auto devices = common.md_connectedDevices();
    if (!serialNumber || !devices) {
        return;
    }
    const auto found = devices->find(*serialNumber);
    if (found == devices->end()) {
        return;
    }
    const std::shared_ptr<iPodDevice> device = found->second;
    device->stopMount();
    const auto& topMenu = common.topMenu();
    if (topMenu) {
        topMenu->removeItem(device->mi_deviceMenu_.get());
    }
    devices->erase(*serialNumber);
    if (devices->empty()) {
        logLine(platform.log, LogLevel::Info, kPlaceholderTitle);
        if (topMenu) {
            topMenu->insertItem(CommonData::makePlaceholderItem(), kDeviceMenuIndex);
        }
    }
    platform.notifications.post(
        Notification{std::string(attachedDeviceRemovedFromCollection), device.get(), {}});
    device->leave();
}

void iPodDevice::removeAllConnectedDevice() {
    auto& common = CommonData::sharedInstance();
    logLine(common.platform().log, LogLevel::Info, "removeAllConnectedDevice");
    for (const auto& device : common.connectedDevices()) {
        device->stopMount();
    }
}

void iPodDevice::leave() {
    hasLeft_ = true;
    gmUserFileSys_.reset();
}

std::string iPodDevice::deviceName() {
    if (!deviceName_ && isIPhone_) {
        deviceName_ = textOf(iPhoneInterface(), &PodPhone::deviceName);
    }
    if (!deviceName_) {
        deviceName_ = kNotAvailable;
    }
    return *deviceName_;
}

std::string iPodDevice::serialNumber() {
    if (const auto session = iPhoneInterface(); session && !deviceSerialNumber_ && isIPhone_) {
        deviceSerialNumber_ = session->serialNumber();
    }
    if (!deviceSerialNumber_) {
        deviceSerialNumber_ = kNotAvailable;
    }
    return *deviceSerialNumber_;
}

std::optional<std::string> iPodDevice::firmwareVersion() {
    if (!deviceFirmwareVersion_) {
        deviceFirmwareVersion_ = textOf(iPhoneInterface(), &PodPhone::firmwareVersion);
    }
    return deviceFirmwareVersion_;
}

std::optional<std::string> iPodDevice::productType() {
    if (!productType_) {
        productType_ = textOf(iPhoneInterface(), &PodPhone::productType);
    }
    return productType_;
}

std::optional<std::string> iPodDevice::deviceClass() {
    if (!deviceClass_) {
        deviceClass_ = textOf(iPhoneInterface(), &PodPhone::deviceClass);
    }
    return deviceClass_;
}

std::int64_t iPodDevice::capacity() {
    if (deviceTotalCapacity_ == 0 && isIPhone_) {
        deviceTotalCapacity_ = figureOf(iPhoneInterface(), &PodPhone::getDeviceCapacity);
    }
    return deviceTotalCapacity_;
}

std::int64_t iPodDevice::availableDiskSpace() {
    if (deviceFreeCapacity_ == 0 && isIPhone_) {
        deviceFreeCapacity_ = figureOf(iPhoneInterface(), &PodPhone::getDeviceFreeSpace);
    }
    return deviceFreeCapacity_;
}

MFDiskFilesystem* iPodDevice::macFuseDisk() const {
    return adapters_.empty() ? nullptr : adapters_.back().get();
}

}  // namespace quillbox
