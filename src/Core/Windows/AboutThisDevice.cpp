// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/AboutThisDevice.h"

#include "Core/Platform/LogLine.h"
#include "Core/Session/PodPhone.h"
#include "Core/Utility/Utilities.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/iPodDevice.h"
#include "Core/Windows/ValueText.h"

#include <cmath>

namespace quillbox {

namespace {

std::unique_ptr<AboutThisDevice> g_aboutThisDevice;

/// A field of the sheet and the question to the session that fills it.
struct SheetField {
    std::string_view outlet;
    std::optional<PropertyValue> (PodPhone::*getter)();
};

constexpr std::array<SheetField, AboutThisDevice::kSheetFields> kSheet{{
    {"tf_activationState", &PodPhone::activationState},
    {"tf_activationStateAcknowledged", &PodPhone::activationStateAcknowledged},
    {"tf_basebandBootloaderVersion", &PodPhone::basebandBootloaderVersion},
    {"tf_basebandVersion", &PodPhone::basebandVersion},
    {"tf_bluetoothAddress", &PodPhone::bluetoothAddress},
    {"tf_productType", &PodPhone::productType},
    {"tf_buildVersion", &PodPhone::buildVersion},
    {"tf_deviceCertificate", &PodPhone::deviceCertificate},
    {"tf_deviceClass", &PodPhone::deviceClass},
    {"tf_devicePublicKey", &PodPhone::devicePublicKey},
    {"tf_fostAttached", &PodPhone::fostAttached},
    {"tf_integratedCircuitCardIdentity", &PodPhone::integratedCircuitCardIdentity},
    {"tf_internationalMobileEquipmentIdentity", &PodPhone::internationalMobileEquipmentIdentity},
    {"tf_internationalMobileSubscriberIdentity", &PodPhone::internationalMobileSubscriberIdentity},
    {"tf_protocolVersion", &PodPhone::protocolVersion},
    {"tf_regionInfo", &PodPhone::regionInfo},
    {"tf_sBLockdownEverRegisteredKey", &PodPhone::sBLockdownEverRegisteredKey},
    {"tf_sIMStatus", &PodPhone::sIMStatus},
    {"tf_somebodySetTimeZone", &PodPhone::somebodySetTimeZone},
    {"tf_timeIntervalSince1970", &PodPhone::timeIntervalSince1970},
    {"tf_timeZone", &PodPhone::timeZone},
    {"tf_timeZoneOffsetFromUTC", &PodPhone::timeZoneOffsetFromUTC},
    {"tf_trustedHostAttached", &PodPhone::trustedHostAttached},
    {"tf_uses24HourClock", &PodPhone::uses24HourClock},
    {"tf_wiFiAddress", &PodPhone::wiFiAddress},
    {"tf_iTunesHasConnected", &PodPhone::iTunesHasConnected},
}};

/// What is in use, of the whole, in single precision. Not a number where the whole is 0.
float fraction(std::uint64_t used, std::uint64_t total) {
    return static_cast<float>(used) / static_cast<float>(total);
}

/// "%f"; what is not a number has no sign.
std::string fixedPoint(float value) {
    return std::isnan(value) ? "nan" : std::to_string(value);
}

std::uint64_t unsignedIn(const PropertyDictionary& attributes, std::string_view key) {
    const auto* value = find(attributes, key);
    return value != nullptr ? value->unsignedValue() : 0;
}

const char* pictureName(const std::optional<std::string>& deviceClass) {
    if (deviceClass == "iPhone") {
        return "Apple iPhone";
    }
    if (deviceClass == "iPod") {
        return "Apple iTouch";
    }
    if (deviceClass == "iPad") {
        return "Apple iPad";
    }
    return "QuillboxIcon";
}

}  // namespace

AboutThisDevice::Outlets::Outlets(InterfaceFile& file)
    : win_moreInfo(file.window("win_moreInfo")),
      iv_deviceIcon(file.imageView("iv_deviceIcon")),
      tf_deviceName(file.textField("tf_deviceName")),
      tf_capacity(file.textField("tf_capacity")),
      tf_iosVersion(file.textField("tf_iosVersion")),
      tf_serialNumber(file.textField("tf_serialNumber")),
      tf_phoneNumber(file.textField("tf_phoneNumber")),
      tf_firmwareVersion(file.textField("tf_firmwareVersion")),
      tf_modelNumber(file.textField("tf_modelNumber")),
      tf_UDID(file.textField("tf_UDID")),
      tf_deviceCapacity_used(file.textField("tf_deviceCapacity_used")),
      tf_deviceCapacity_free(file.textField("tf_deviceCapacity_free")),
      tf_hardDiskCapacity_used(file.textField("tf_hardDiskCapacity_used")),
      tf_hardDiskCapacity_free(file.textField("tf_hardDiskCapacity_free")),
      pi_deviceCapacity(file.levelBar("pi_deviceCapacity")),
      pi_hardDiskCapacity(file.levelBar("pi_hardDiskCapacity")) {}

AboutThisDevice& AboutThisDevice::displayAboutThisDevice(iPodDevice* device) {
    if (!g_aboutThisDevice) {
        g_aboutThisDevice = std::make_unique<AboutThisDevice>(Key{});
    }
    g_aboutThisDevice->present();
    g_aboutThisDevice->updateInfobyDevice(device);
    return *g_aboutThisDevice;
}

void AboutThisDevice::closeAboutThisDeviceWindow() {
    if (g_aboutThisDevice) {
        g_aboutThisDevice->closeWindow(nullptr);
    }
}

void AboutThisDevice::resetSharedInstance() {
    g_aboutThisDevice.reset();
}

AboutThisDevice::AboutThisDevice(Key /*key*/)
    : WindowController("AboutThisDevice"), outlets_(file()) {
    for (std::size_t i = 0; i < kSheetFields; ++i) {
        sheetFields_[i] = &file().textField(kSheet[i].outlet);
    }
    using Self = AboutThisDevice;
    connect<Self>(*this, {{"showMoreInfoWindow:", &Self::showMoreInfoWindow},
                          {"endWin_moreInfo:", &Self::endWin_moreInfo},
                          {"closeWindow:", &Self::closeWindow}});
}

void AboutThisDevice::updateInfobyDevice(iPodDevice* device) {
    showIdentity(device);
    showDeviceUsage(device);
    showDiskUsage();
    showPicture(device);
    setupOther(device);
}

void AboutThisDevice::showIdentity(iPodDevice* device) {
    const auto session = device != nullptr ? device->iPhoneInterface() : nullptr;
    const auto show = [](TextField& field, const std::optional<std::string>& text) {
        field.setStringValue(Utilities::stringOrNA(text));
    };
    const auto ask = [&session](std::optional<PropertyValue> (PodPhone::*getter)()) {
        return session ? valueText((*session.*getter)()) : std::nullopt;
    };
    show(outlets_.tf_deviceName,
         device != nullptr ? std::optional(device->deviceName()) : std::nullopt);
    outlets_.tf_capacity.setStringValue(Utilities::byteCountToDisplayString(
        device != nullptr ? static_cast<std::uint64_t>(device->capacity()) : 0));
    show(outlets_.tf_iosVersion, ask(&PodPhone::productVersion));
    show(outlets_.tf_serialNumber, session ? session->serialNumber() : std::nullopt);
    show(outlets_.tf_phoneNumber, ask(&PodPhone::phoneNumber));
    show(outlets_.tf_firmwareVersion, device != nullptr ? device->firmwareVersion() : std::nullopt);
    show(outlets_.tf_modelNumber, ask(&PodPhone::modelNumber));
    show(outlets_.tf_UDID, session ? session->uniqueDeviceID() : std::nullopt);
}

void AboutThisDevice::showDeviceUsage(iPodDevice* device) {
    std::string usedText = "N/A";
    std::string freeText = "N/A";
    if (device != nullptr) {
        const auto total = static_cast<std::uint64_t>(device->capacity());
        const auto free = static_cast<std::uint64_t>(device->availableDiskSpace());
        const std::uint64_t used = total - free;
        const float usedFraction = fraction(used, total);
        logLine(platform().log, LogLevel::Info, "this float = ", fixedPoint(usedFraction),
                ", total = ", total, ", free = ", free);
        outlets_.pi_deviceCapacity.setDoubleValue(static_cast<double>(usedFraction));
        usedText = Utilities::byteCountToDisplayString(used);
        freeText = Utilities::byteCountToDisplayString(free);
    }
    outlets_.tf_deviceCapacity_used.setStringValue(usedText);
    outlets_.tf_deviceCapacity_free.setStringValue(freeText);
}

void AboutThisDevice::showDiskUsage() {
    constexpr std::size_t kFewestAttributes = 3;
    const auto attributes = platform().fileManager.attributesOfFileSystemForPath(
        platform().bundle.bundlePath(), nullptr);
    if (!attributes || attributes->size() < kFewestAttributes) {
        // What the other fields show stays.
        outlets_.tf_hardDiskCapacity_free.setStringValue("?");
        return;
    }
    const std::uint64_t free = unsignedIn(*attributes, NSFileSystemFreeSize);
    const std::uint64_t total = unsignedIn(*attributes, NSFileSystemSize);
    const std::uint64_t used = total - free;
    outlets_.pi_hardDiskCapacity.setDoubleValue(static_cast<double>(fraction(used, total)));
    outlets_.tf_hardDiskCapacity_used.setStringValue(Utilities::byteCountToDisplayString(used));
    outlets_.tf_hardDiskCapacity_free.setStringValue(Utilities::byteCountToDisplayString(free));
}

void AboutThisDevice::showPicture(iPodDevice* device) {
    Image picture;
    picture.resourceName = pictureName(device != nullptr ? device->deviceClass() : std::nullopt);
    outlets_.iv_deviceIcon.setImage(picture);
}

void AboutThisDevice::setupOther(iPodDevice* device) {
    const auto session = device != nullptr ? device->iPhoneInterface() : nullptr;
    for (std::size_t i = 0; i < kSheetFields; ++i) {
        const auto value = session ? (*session.*kSheet[i].getter)() : std::nullopt;
        sheetFields_[i]->setStringValue(Utilities::stringOrNA(valueText(value)));
    }
}

void AboutThisDevice::showMoreInfoWindow(const void* /*sender*/) {
    window().beginSheet(outlets_.win_moreInfo);
}

void AboutThisDevice::endWin_moreInfo(const void* sender) {
    window().endSheet(outlets_.win_moreInfo);
    outlets_.win_moreInfo.orderOut(sender);
}

void AboutThisDevice::closeWindow(const void* /*sender*/) {
    endWin_moreInfo(nullptr);
    outlets_.win_moreInfo.performClose(&outlets_.win_moreInfo);
    window().performClose(this);
}

}  // namespace quillbox
