// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Device.h"
#include "Wire/Bytes.h"

#include <string>

namespace quillbox::device {

/// The picture (PNG) that the device's home screen shows for an application; empty where it shows
/// none. Blocks for the device.
Failure readHomeScreenPicture(Device& device, const std::string& bundleIdentifier,
                              wire::Bytes& picture);

}  // namespace quillbox::device
