// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Session/KeyValues.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/SettingsKeys.h"

namespace quillbox {

std::optional<DeviceInfo> PodPhone::getDeviceInfo() {
    auto& afc = platform_.afc;
    AFCKeyValueRef answer = 0;
    if (afc.AFCDeviceInfoOpen(myConnection_, &answer) != kAFCSuccess) {
        return std::nullopt;
    }
    const auto texts = readKeyValues(afc, answer);
    if (!texts) {
        return std::nullopt;
    }
    DeviceInfo info;
    for (const auto& [key, text] : *texts) {
        info.emplace(key, decimalValue(text));
    }
    return info;
}

std::uint64_t PodPhone::deviceInfoFigure(std::string_view key) {
    const auto info = getDeviceInfo();
    if (!info) {
        return 0;
    }
    const auto found = info->find(key);
    return found == info->end() ? 0 : static_cast<std::uint64_t>(found->second);
}

std::uint64_t PodPhone::getDeviceCapacity() {
    return deviceInfoFigure("FSTotalBytes");
}

std::uint64_t PodPhone::getDeviceFreeSpace() {
    return deviceInfoFigure("FSFreeBytes");
}

std::uint64_t PodPhone::getDeviceBlockSize() {
    return deviceInfoFigure("FSBlockSize");
}

std::optional<PropertyValue> PodPhone::lockdownValue(std::string_view key) {
    return platform_.devices.AMDeviceCopyValue(myDevice_, std::nullopt, std::string(key));
}

std::optional<PropertyValue> PodPhone::deviceName() {
    return lockdownValue("DeviceName");
}

std::optional<PropertyValue> PodPhone::activationState() {
    return lockdownValue("ActivationState");
}

std::optional<PropertyValue> PodPhone::activationStateAcknowledged() {
    return lockdownValue("ActivationStateAcknowledged");
}

std::optional<PropertyValue> PodPhone::basebandBootloaderVersion() {
    return lockdownValue("BasebandBootloaderVersion");
}

std::optional<PropertyValue> PodPhone::basebandVersion() {
    return lockdownValue("BasebandVersion");
}

std::optional<PropertyValue> PodPhone::bluetoothAddress() {
    return lockdownValue("BluetoothAddress");
}

std::optional<PropertyValue> PodPhone::buildVersion() {
    return lockdownValue("BuildVersion");
}

std::optional<PropertyValue> PodPhone::deviceCertificate() {
    return lockdownValue("DeviceCertificate");
}

std::optional<PropertyValue> PodPhone::deviceClass() {
    return lockdownValue("DeviceClass");
}

std::optional<PropertyValue> PodPhone::devicePublicKey() {
    return lockdownValue("DevicePublicKey");
}

std::optional<PropertyValue> PodPhone::firmwareVersion() {
    return lockdownValue("FirmwareVersion");
}

std::optional<PropertyValue> PodPhone::fostAttached() {
    return lockdownValue("HostAttached");
}

std::optional<PropertyValue> PodPhone::integratedCircuitCardIdentity() {
    return lockdownValue("IntegratedCircuitCardIdentity");
}

std::optional<PropertyValue> PodPhone::internationalMobileEquipmentIdentity() {
    return lockdownValue("InternationalMobileEquipmentIdentity");
}

std::optional<PropertyValue> PodPhone::internationalMobileSubscriberIdentity() {
    return lockdownValue("InternationalMobileSubscriberIdentity");
}

std::optional<PropertyValue> PodPhone::modelNumber() {
    return lockdownValue("ModelNumber");
}

std::optional<PropertyValue> PodPhone::phoneNumber() {
    return lockdownValue("PhoneNumber");
}

std::optional<PropertyValue> PodPhone::productType() {
    return lockdownValue("ProductType");
}

std::optional<PropertyValue> PodPhone::productVersion() {
    return lockdownValue("ProductVersion");
}

std::optional<PropertyValue> PodPhone::protocolVersion() {
    return lockdownValue("ProtocolVersion");
}

std::optional<PropertyValue> PodPhone::regionInfo() {
    return lockdownValue("RegionInfo");
}

std::optional<PropertyValue> PodPhone::sBLockdownEverRegisteredKey() {
    return lockdownValue("SBLockdownEverRegisteredKey");
}

std::optional<PropertyValue> PodPhone::sIMStatus() {
    return lockdownValue("SIMStatus");
}

std::optional<PropertyValue> PodPhone::somebodySetTimeZone() {
    return lockdownValue("SomebodySetTimeZone");
}

std::optional<PropertyValue> PodPhone::timeIntervalSince1970() {
    return lockdownValue("TimeIntervalSince1970");
}

std::optional<PropertyValue> PodPhone::timeZone() {
    return lockdownValue("TimeZone");
}

std::optional<PropertyValue> PodPhone::timeZoneOffsetFromUTC() {
    return lockdownValue("TimeZoneOffsetFromUTC");
}

std::optional<PropertyValue> PodPhone::trustedHostAttached() {
    return lockdownValue("TrustedHostAttached");
}

std::optional<PropertyValue> PodPhone::uses24HourClock() {
    return lockdownValue("Uses24HourClock");
}

std::optional<PropertyValue> PodPhone::wiFiAddress() {
    return lockdownValue("WiFiAddress");
}

std::optional<PropertyValue> PodPhone::iTunesHasConnected() {
    return lockdownValue("iTunesHasConnected");
}

std::optional<std::string> PodPhone::uniqueDeviceID() {
    if (auto kept = deviceUniqueDeviceID()) {
        return kept;
    }
    const auto value = lockdownValue("UniqueDeviceID");
    // A device that calls itself by a setting's name must not reach that setting.
    if (value && value->string() != nullptr && !value->string()->empty() &&
        !isSettingsKey(*value->string())) {
        setDeviceUniqueDeviceID(*value->string());
    }
    return deviceUniqueDeviceID();
}

std::optional<std::string> PodPhone::deviceUniqueDeviceID() const {
    const std::lock_guard guard(stateMutex_);
    return deviceUniqueDeviceID_;
}

void PodPhone::setDeviceUniqueDeviceID(std::optional<std::string> identifier) {
    const std::lock_guard guard(stateMutex_);
    deviceUniqueDeviceID_ = std::move(identifier);
}

}  // namespace quillbox
