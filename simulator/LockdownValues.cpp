// SPDX-License-Identifier: GPL-3.0-or-later
#include "LockdownValues.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>

namespace quillbox::simulator {
namespace {

// Without a session a device tells who it is and what a computer needs to pair with it.
constexpr std::array<std::string_view, 14> kOpenValues{
    "DeviceName",      "DeviceClass",     "ProductType",  "ProductVersion",  "UniqueDeviceID",
    "BuildVersion",    "HardwareModel",   "ProductName",  "DevicePublicKey", "WiFiAddress",
    "ProtocolVersion", "CPUArchitecture", "HostAttached", "ActivationState"};

std::string address(const std::string& seed, unsigned prefix) {
    const std::size_t hash = std::hash<std::string>{}(seed);
    std::array<char, 18> text{};
    std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", prefix,
                  static_cast<unsigned>(hash >> 32U) & 0xFFU,
                  static_cast<unsigned>(hash >> 24U) & 0xFFU,
                  static_cast<unsigned>(hash >> 16U) & 0xFFU,
                  static_cast<unsigned>(hash >> 8U) & 0xFFU, static_cast<unsigned>(hash) & 0xFFU);
    return text.data();
}

void addTelephone(PropertyList& values) {
    values.setText("BasebandBootloaderVersion", "5.8_M3S2")
        .setText("BasebandVersion", "3.50.04")
        .setText("IntegratedCircuitCardIdentity", "89014103211118510720")
        .setText("InternationalMobileEquipmentIdentity", "350000000000006")
        .setText("InternationalMobileSubscriberIdentity", "310410123456789")
        .setText("PhoneNumber", "+1 (555) 010-0123")
        .setText("SIMStatus", "kCTSIMSupportSIMStatusReady");
}

PropertyList globalValues(const Device& device, const KeyPair& key) {
    const DeviceDescription& description = device.description();
    using namespace std::chrono;
    const double now = duration<double>(system_clock::now().time_since_epoch()).count();
    PropertyList values = PropertyList::dictionary();
    values.setText("ActivationState", "Activated")
        .setBoolean("ActivationStateAcknowledged", true)
        .setText("BluetoothAddress", address(description.serial, 0x02))
        .setText("BuildVersion", description.buildVersion)
        .setText("CPUArchitecture", "arm64e")
        .setData("DeviceCertificate", makeRootCertificate(key))
        .setText("DeviceClass", description.deviceClass)
        .setText("DeviceName", device.name())
        .setData("DevicePublicKey", key.publicPem())
        .setText("FirmwareVersion", "iBoot-10151.122.1")
        .setText("HardwareModel", description.hardwareModel)
        .setBoolean("HostAttached", true)
        .setText("ModelNumber", description.modelNumber)
        .setText("ProductName", description.deviceClass + " OS")
        .setText("ProductType", description.productType)
        .setText("ProductVersion", description.productVersion)
        .setText("ProtocolVersion", "2")
        .setText("RegionInfo", "LL/A")
        .setBoolean("SBLockdownEverRegisteredKey", true)
        .setText("SerialNumber", description.serial)
        .setBoolean("SomebodySetTimeZone", true)
        .set("TimeIntervalSince1970", PropertyList::real(now))
        .setText("TimeZone", "Europe/Berlin")
        .set("TimeZoneOffsetFromUTC", PropertyList::real(3600))
        .setBoolean("TrustedHostAttached", true)
        .setNumber("UniqueChipID", std::hash<std::string>{}(description.udid) >> 12U)
        .setText("UniqueDeviceID", description.udid)
        .setBoolean("Uses24HourClock", true)
        .setText("WiFiAddress", wifiAddress(description))
        .setBoolean("iTunesHasConnected", true);
    if (description.deviceClass == "iPhone") {
        addTelephone(values);
    }
    return values;
}

}  // namespace

std::string wifiAddress(const DeviceDescription& description) {
    return address(description.serial, 0x06);
}

PropertyList lockdownValues(const Device& device, const KeyPair& key, const std::string& domain) {
    if (domain.empty()) {
        return globalValues(device, key);
    }
    PropertyList values = PropertyList::dictionary();
    if (domain == "com.apple.disk_usage" || domain == "com.apple.disk_usage.factory") {
        values.setNumber("TotalDiskCapacity", device.description().totalBytes)
            .setNumber("TotalDataCapacity", device.description().totalBytes)
            .setNumber("TotalDataAvailable", device.freeBytes());
    } else if (domain == "com.apple.mobile.battery") {
        values.setNumber("BatteryCurrentCapacity", 80).setBoolean("BatteryIsCharging", true);
    } else if (domain == "com.apple.international") {
        values.setText("Language", "en").setText("Locale", "en_US");
    }
    return values;
}

bool isOpenValue(std::string_view key) {
    return std::ranges::find(kOpenValues, key) != kOpenValues.end();
}

}  // namespace quillbox::simulator
