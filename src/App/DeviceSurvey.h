// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/ProgramControl.h"
#include "Linux/Device/AttachedDevice.h"

#include <chrono>
#include <vector>

namespace quillbox::app {

/// What is known of an attached device by itself, without a menu entry.
control::DeviceView viewOf(const AttachedDevice& device);

/// Meets every attached device as the running program would, to learn its state: one that does not
/// trust this computer yet is asked to. Returns when all have shown theirs, or when the time is
/// over. Makes the main loop of this thread for that; for a process without another one.
std::vector<control::DeviceView> surveyDevices(std::chrono::milliseconds patience);

}  // namespace quillbox::app
