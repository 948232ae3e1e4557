// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Simulation.h"

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quillbox::simulator {

/// The program's own options.
struct Options {
    std::filesystem::path socket;
    std::filesystem::path control;
    std::filesystem::path state;
    std::filesystem::path key;  ///< empty: in the state folder
    unsigned devices = 0;
    bool sameName = false;
    bool exitWithParent = false;
    pid_t parent = 0;  ///< who started the program
    NewDevice device;  ///< what the devices made at the start have in common
};

struct ParsedOptions {
    Options options;
    bool help = false;
    std::string error;  ///< what is wrong with the command line, in one line; empty when nothing is
};

[[nodiscard]] ParsedOptions parseOptions(const std::vector<std::string>& arguments);

[[nodiscard]] std::string optionsHelp();

}  // namespace quillbox::simulator
