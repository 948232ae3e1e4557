// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Arguments.h"
#include "Simulation.h"

namespace quillbox::simulator {

/// Options that describe a device, the same for the program's start and for adding one later.
[[nodiscard]] const std::set<std::string>& deviceValueOptions();
[[nodiscard]] const std::set<std::string>& deviceSwitches();

/// Fills in what the options say. Throws UsageError.
void applyDeviceOptions(const Arguments& arguments, NewDevice& device);

/// Lines for the help.
[[nodiscard]] const char* deviceOptionsHelp();

}  // namespace quillbox::simulator
