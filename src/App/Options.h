// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"

#include <optional>
#include <string>
#include <vector>

namespace quillbox::app {

/// What the command line asks for.
struct Options {
    bool headless = false;
    bool simulate = false;
    std::string simulatedMedia;  ///< a folder as the simulated phone's media area; empty: sample
    std::optional<std::string> volumes;
    std::optional<std::string> preferences;
    LogLevel logLevel = LogLevel::Info;
    bool json = false;  ///< a verb's output for programs
    bool version = false;
    bool help = false;
    std::vector<std::string> verb;   ///< a verb and its arguments; empty: the program itself
    std::vector<std::string> given;  ///< the options as they were, without the preference file
};

/// The options, or one sentence about what is wrong with the arguments (without the program's own
/// name as first argument). A later option wins over an earlier one.
struct ParsedOptions {
    Options options;
    std::optional<std::string> error;
};

ParsedOptions parseOptions(const std::vector<std::string>& arguments);

/// The text of `--help`.
std::string usageText();

}  // namespace quillbox::app
