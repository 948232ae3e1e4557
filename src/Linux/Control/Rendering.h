// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/ProgramControl.h"

#include <string>
#include <vector>

namespace quillbox::control {

class JsonWriter;

/// What verbs print: for persons without the control characters that a device may send, for
/// programs as JSON. Whole lines.

std::string devicesAsText(const std::vector<DeviceView>& devices);
std::string devicesAsJson(const std::vector<DeviceView>& devices);
std::string deviceAsText(const DeviceView& device);
std::string deviceAsJson(const DeviceView& device);
std::string rootsAsText(const std::vector<RootView>& roots);
std::string rootsAsJson(const std::vector<RootView>& roots);
std::string factsAsText(const std::vector<DeviceFact>& facts);
std::string factsAsJson(const std::vector<DeviceFact>& facts);

/// The same as one value within a document.
void writeDevice(JsonWriter& json, const DeviceView& device);

/// Rows of cells as columns, two blanks between them.
std::string columns(const std::vector<std::vector<std::string>>& rows);

}  // namespace quillbox::control
