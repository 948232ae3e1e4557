// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/ProgramControl.h"

#include <vector>

namespace quillbox {

class iPodDevice;

namespace app {

/// What the device information window shows, as texts in its order; "Not available" for what the
/// device does not tell. Asks the device. Main thread.
std::vector<control::DeviceFact> factsAbout(iPodDevice& device);

}  // namespace app

}  // namespace quillbox
