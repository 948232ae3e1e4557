// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/AFC/AFCDeviceRef.h"

namespace quillbox {

std::uint32_t AFCDeviceRef::deviceID() const {
    return platform_.devices.AMDeviceGetRecord(device_).deviceID;
}

std::uint32_t AFCDeviceRef::productID() const {
    return platform_.devices.AMDeviceGetRecord(device_).productID;
}

std::optional<std::string> AFCDeviceRef::serialNumber() const {
    const char* text = platform_.devices.AMDeviceGetRecord(device_).serialNumber;
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace quillbox
