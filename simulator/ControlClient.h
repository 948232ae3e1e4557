// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace quillbox::simulator {

/// Runs "ctl": sends a command to a running simulator, prints what comes back and gives the exit
/// status.
[[nodiscard]] int runControlClient(const std::vector<std::string>& arguments);

}  // namespace quillbox::simulator
