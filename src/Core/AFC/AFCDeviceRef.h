// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/AFC/AFCPlatform.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quillbox {

/// A device as the platform hands it out, and what its record tells. It does not own the device,
/// which lives as long as the process.
class AFCDeviceRef {
public:
    /// Only known, nothing is asked; `platform` must outlive this.
    AFCDeviceRef(const AFCPlatform& platform, AMDeviceRef device)
        : platform_(platform), device_(device) {}

    const AFCPlatform& platform() const { return platform_; }

    AMDeviceRef device() const { return device_; }

    std::uint32_t deviceID() const;
    std::uint32_t productID() const;
    /// None where the record holds none.
    std::optional<std::string> serialNumber() const;

private:
    const AFCPlatform& platform_;
    AMDeviceRef device_;
};

}  // namespace quillbox
