// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quillbox {

/// The platform's record of an attached device, byte by byte. What is not named is not read here.
struct AMDeviceRecord {
    std::array<std::uint8_t, 16> unnamed0{};
    std::uint32_t deviceID = 0;          ///< the number that the device has while it is attached
    std::uint32_t productID = 0;         ///< the number of its model on the bus
    const char* serialNumber = nullptr;  ///< UTF-8; lives as long as the process
    std::uint32_t unnamed1 = 0;
    std::array<std::uint8_t, 4> unnamed2{};
    std::uint32_t unnamed3 = 0;
    std::array<std::uint8_t, 8> unnamed4{};
};

static_assert(offsetof(AMDeviceRecord, unnamed0) == 0);
static_assert(offsetof(AMDeviceRecord, deviceID) == 16);
static_assert(offsetof(AMDeviceRecord, productID) == 20);
static_assert(offsetof(AMDeviceRecord, serialNumber) == 24);
static_assert(sizeof(const char*) == 8);
static_assert(offsetof(AMDeviceRecord, unnamed1) == 32);
static_assert(offsetof(AMDeviceRecord, unnamed2) == 36);
static_assert(offsetof(AMDeviceRecord, unnamed3) == 40);
static_assert(offsetof(AMDeviceRecord, unnamed4) == 44);

}  // namespace quillbox
