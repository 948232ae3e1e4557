// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Volumes/iPodDevice.h"

#include "Core/Platform/LogLine.h"
#include "Core/Session/PodPhone.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/MFDiskFilesystem.h"
#include "Core/Volumes/NotificationNames.h"

namespace quillbox {

namespace {

constexpr const char* kNotAvailable = "Not available";

std::optional<std::string> textOf(const std::optional<PropertyValue>& value) {
    return value && value->string() != nullptr ? std::optional(*value->string()) : std::nullopt;
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
        deviceName_ = textOf(iPhoneInterface_->deviceName());
    }
    if (!deviceName_) {
        deviceName_ = kNotAvailable;
    }
    return *deviceName_;
}

std::string iPodDevice::serialNumber() {
    if (!deviceSerialNumber_ && isIPhone_) {
        deviceSerialNumber_ = iPhoneInterface_->serialNumber();
    }
    if (!deviceSerialNumber_) {
        deviceSerialNumber_ = kNotAvailable;
    }
    return *deviceSerialNumber_;
}

std::optional<std::string> iPodDevice::firmwareVersion() {
    if (!deviceFirmwareVersion_) {
        deviceFirmwareVersion_ = textOf(iPhoneInterface_->firmwareVersion());
    }
    return deviceFirmwareVersion_;
}

std::optional<std::string> iPodDevice::productType() {
    if (!productType_) {
        productType_ = textOf(iPhoneInterface_->productType());
    }
    return productType_;
}

std::optional<std::string> iPodDevice::deviceClass() {
    if (!deviceClass_) {
        deviceClass_ = textOf(iPhoneInterface_->deviceClass());
    }
    return deviceClass_;
}

std::int64_t iPodDevice::capacity() {
    if (deviceTotalCapacity_ == 0 && isIPhone_) {
        deviceTotalCapacity_ = static_cast<std::int64_t>(iPhoneInterface_->getDeviceCapacity());
    }
    return deviceTotalCapacity_;
}

std::int64_t iPodDevice::availableDiskSpace() {
    if (deviceFreeCapacity_ == 0 && isIPhone_) {
        deviceFreeCapacity_ = static_cast<std::int64_t>(iPhoneInterface_->getDeviceFreeSpace());
    }
    return deviceFreeCapacity_;
}

MFDiskFilesystem* iPodDevice::macFuseDisk() const {
    return adapters_.empty() ? nullptr : adapters_.back().get();
}

}  // namespace quillbox
