// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/MobileDevice.h"
#include "Linux/Device/Lockdown/TrustState.h"

#include <string>

namespace quillbox {

/// What is known of one attached device, announced or not.
struct AttachedDevice {
    AMDeviceRef device = nullptr;
    std::string uniqueDeviceID;
    std::string name;          ///< empty while the device has not told it
    std::string serialNumber;  ///< empty while the device has not told it
    DeviceTrustState state = DeviceTrustState::Unknown;
};

}  // namespace quillbox
