// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Device.h"

namespace quillbox::simulator {

/// The values that a device gives under a domain (empty: the global one), as a dictionary. Devices
/// without a telephone, that is of any class but "iPhone", have no values about one.
[[nodiscard]] PropertyList lockdownValues(const Device& device, const KeyPair& key,
                                          const std::string& domain);

/// Whether a value of the global domain is given to a computer that has no session.
[[nodiscard]] bool isOpenValue(std::string_view key);

/// The address of the device's wireless interface, made from its serial number.
[[nodiscard]] std::string wifiAddress(const DeviceDescription& description);

}  // namespace quillbox::simulator
