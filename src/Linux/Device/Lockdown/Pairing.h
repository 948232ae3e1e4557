// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Failure.h"

#include <string>

namespace quillbox::device {

/// Asks a device to pair, which shows the question on its screen, and keeps the record where it
/// agrees. Success: paired. Blocks inside the device library, which waits up to 30 seconds for each
/// answer on a connection that cannot be broken from here.
Failure askToPair(const std::string& udid);

}  // namespace quillbox::device
