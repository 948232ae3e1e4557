// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Simulation.h"

#include <string>
#include <vector>

namespace quillbox::simulator {

/// What a command came to.
struct CommandResult {
    int status = 0;     ///< 0 done, 1 cannot be done, 2 wrong usage
    std::string text;   ///< what to print: to standard error, as one line, when the status is not 0
    bool quit = false;  ///< the program is to end
};

/// Runs a command of the control interface, "attach" for instance, with its arguments. When it
/// comes back, clients can see its effect. Any thread, several at once.
[[nodiscard]] CommandResult runCommand(Simulation& simulation,
                                       const std::vector<std::string>& command);

/// All commands, for the help.
[[nodiscard]] std::string commandsHelp();

}  // namespace quillbox::simulator
