// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/ProgramControl.h"

#include <string>
#include <vector>

namespace quillbox::control {

/// The device that a word of the command line means: by unique identifier, else by serial number,
/// else by name. Null with a sentence where none or several are meant.
const DeviceView* findDevice(const std::vector<DeviceView>& devices, const std::string& word,
                             std::string* problem);
/// The root that a word means: "Root" and "Media" in any case, else a bundle identifier, else a
/// name. Null with a sentence where none or several are meant.
const RootView* findRoot(const std::vector<RootView>& roots, const std::string& word,
                         std::string* problem);

/// What a person calls the device.
std::string callName(const DeviceView& device);

}  // namespace quillbox::control
