// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Arguments.h"
#include "Simulation.h"

#include <memory>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillbox::simulator {

/// What was asked for cannot be done now: the message says why, in one line.
class CannotDo : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A command of the control interface.
struct Command {
    const char* name;
    const char*
        usage;  ///< its arguments and, after two blanks or on a line of its own, what it does
    std::size_t fewest;  ///< words it needs
    std::size_t most;    ///< words it takes
    std::set<std::string> valued;
    std::set<std::string> switches;
    std::string (*run)(Simulation& simulation, const Arguments& arguments);
};

/// Commands about devices, their plugs and their trust.
[[nodiscard]] std::span<const Command> deviceCommands();
/// Commands about failures, stalls and the link.
[[nodiscard]] std::span<const Command> faultCommands();

/// The device that a word names; CannotDo when there is none.
[[nodiscard]] std::shared_ptr<Device> deviceNamed(const Simulation& simulation,
                                                  const std::string& word);
/// The devices that a word names: one, or all of them for "all".
[[nodiscard]] std::vector<std::shared_ptr<Device>> devicesNamed(const Simulation& simulation,
                                                                const std::string& word);

}  // namespace quillbox::simulator
