// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/DeviceFacts.h"

#include "Core/Session/PodPhone.h"
#include "Core/Utility/Utilities.h"
#include "Core/Volumes/iPodDevice.h"

#include <array>
#include <optional>
#include <string>

namespace quillbox::app {

namespace {

using Getter = std::optional<PropertyValue> (PodPhone::*)();

struct LockdownFact {
    const char* key;
    const char* label;
    Getter getter;
};

constexpr std::array kLockdownFacts{
    LockdownFact{"activationState", "Activation state", &PodPhone::activationState},
    LockdownFact{"activationStateAcknowledged", "Activation acknowledged",
                 &PodPhone::activationStateAcknowledged},
    LockdownFact{"basebandBootloaderVersion", "Baseband bootloader",
                 &PodPhone::basebandBootloaderVersion},
    LockdownFact{"basebandVersion", "Baseband version", &PodPhone::basebandVersion},
    LockdownFact{"bluetoothAddress", "Bluetooth address", &PodPhone::bluetoothAddress},
    LockdownFact{"productType", "Product type", &PodPhone::productType},
    LockdownFact{"buildVersion", "Build version", &PodPhone::buildVersion},
    LockdownFact{"deviceCertificate", "Device certificate", &PodPhone::deviceCertificate},
    LockdownFact{"deviceClass", "Device class", &PodPhone::deviceClass},
    LockdownFact{"devicePublicKey", "Device public key", &PodPhone::devicePublicKey},
    LockdownFact{"fostAttached", "Host attached", &PodPhone::fostAttached},
    LockdownFact{"integratedCircuitCardIdentity", "SIM card (ICCID)",
                 &PodPhone::integratedCircuitCardIdentity},
    LockdownFact{"internationalMobileEquipmentIdentity", "IMEI",
                 &PodPhone::internationalMobileEquipmentIdentity},
    LockdownFact{"internationalMobileSubscriberIdentity", "IMSI",
                 &PodPhone::internationalMobileSubscriberIdentity},
    LockdownFact{"protocolVersion", "Protocol version", &PodPhone::protocolVersion},
    LockdownFact{"regionInfo", "Region", &PodPhone::regionInfo},
    LockdownFact{"sBLockdownEverRegisteredKey", "Ever registered",
                 &PodPhone::sBLockdownEverRegisteredKey},
    LockdownFact{"sIMStatus", "SIM status", &PodPhone::sIMStatus},
    LockdownFact{"somebodySetTimeZone", "Time zone was set", &PodPhone::somebodySetTimeZone},
    LockdownFact{"timeIntervalSince1970", "Device time", &PodPhone::timeIntervalSince1970},
    LockdownFact{"timeZone", "Time zone", &PodPhone::timeZone},
    LockdownFact{"timeZoneOffsetFromUTC", "Time zone offset", &PodPhone::timeZoneOffsetFromUTC},
    LockdownFact{"trustedHostAttached", "Trusted host attached", &PodPhone::trustedHostAttached},
    LockdownFact{"uses24HourClock", "24 hour clock", &PodPhone::uses24HourClock},
    LockdownFact{"wiFiAddress", "Wi-Fi address", &PodPhone::wiFiAddress},
    LockdownFact{"iTunesHasConnected", "Has connected before", &PodPhone::iTunesHasConnected},
};

std::optional<std::string> textOf(const std::optional<PropertyValue>& value) {
    if (!value) {
        return std::nullopt;
    }
    if (const auto* flag = value->get<bool>()) {
        return *flag ? "yes" : "no";
    }
    if (const auto* data = value->get<PropertyData>()) {
        return std::to_string(data->size()) + " bytes";
    }
    return value->string() != nullptr ? *value->string() : description(*value);
}

std::optional<std::string> sizeText(std::int64_t bytes) {
    return bytes > 0 ? std::optional(
                           Utilities::byteCountToDisplayString(static_cast<std::uint64_t>(bytes)))
                     : std::nullopt;
}

}  // namespace

std::vector<control::DeviceFact> factsAbout(iPodDevice& device) {
    const auto session = device.iPhoneInterface();
    std::vector<control::DeviceFact> facts;
    const auto add = [&](const char* key, const char* label,
                         const std::optional<std::string>& text) {
        facts.push_back({key, label, Utilities::stringOrNA(text)});
    };
    add("name", "Name", device.deviceName());
    add("capacity", "Capacity", sizeText(device.capacity()));
    add("used", "Used", sizeText(device.capacity() - device.availableDiskSpace()));
    add("free", "Free", sizeText(device.availableDiskSpace()));
    add("productVersion", "System version", textOf(session->productVersion()));
    add("serialNumber", "Serial number", session->serialNumber());
    add("phoneNumber", "Phone number", textOf(session->phoneNumber()));
    add("firmwareVersion", "Firmware version", device.firmwareVersion());
    add("modelNumber", "Model number", textOf(session->modelNumber()));
    add("uniqueDeviceID", "Identifier", session->uniqueDeviceID());
    for (const auto& each : kLockdownFacts) {
        add(each.key, each.label, textOf(((*session).*each.getter)()));
    }
    return facts;
}

}  // namespace quillbox::app
