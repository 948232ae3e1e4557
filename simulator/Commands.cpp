// SPDX-License-Identifier: GPL-3.0-or-later
#include "Commands.h"

#include "CommandTable.h"

#include <algorithm>

namespace quillbox::simulator {
namespace {

const Command* findCommand(const std::string& name) {
    for (const auto& table : {deviceCommands(), faultCommands()}) {
        const auto found = std::ranges::find_if(
            table, [&](const Command& command) { return name == command.name; });
        if (found != table.end()) {
            return &*found;
        }
    }
    return nullptr;
}

std::string runKnown(Simulation& simulation, const Command& command,
                     std::span<const std::string> rest) {
    const Arguments arguments{rest, command.valued, command.switches};
    const std::size_t words = arguments.words().size();
    if (words < command.fewest || words > command.most) {
        const std::string usage = command.usage;
        throw UsageError{"usage: " + std::string{command.name} + " " +
                         usage.substr(0, usage.find('\n'))};
    }
    return command.run(simulation, arguments);
}

}  // namespace

std::shared_ptr<Device> deviceNamed(const Simulation& simulation, const std::string& word) {
    auto device = simulation.find(word);
    if (!device) {
        throw CannotDo{"there is no device " + word};
    }
    return device;
}

std::vector<std::shared_ptr<Device>> devicesNamed(const Simulation& simulation,
                                                  const std::string& word) {
    return word == "all" ? simulation.devices()
                         : std::vector<std::shared_ptr<Device>>{deviceNamed(simulation, word)};
}

CommandResult runCommand(Simulation& simulation, const std::vector<std::string>& command) {
    if (command.empty()) {
        return {2, "a command is needed; ctl --help lists them"};
    }
    if (command.front() == "quit") {
        return command.size() == 1 ? CommandResult{0, "ending", true}
                                   : CommandResult{2, "usage: quit"};
    }
    const Command* known = findCommand(command.front());
    if (known == nullptr) {
        return {2, "unknown command \"" + command.front() + "\"; ctl --help lists them"};
    }
    try {
        return {0, runKnown(simulation, *known, std::span{command}.subspan(1))};
    } catch (const UsageError& error) {
        return {2, error.what()};
    } catch (const std::exception& error) {
        return {1, error.what()};
    }
}

std::string commandsHelp() {
    std::string help;
    for (const auto& table : {deviceCommands(), faultCommands()}) {
        for (const Command& command : table) {
            help += "  " + std::string{command.name} + " " + command.usage + "\n";
        }
    }
    return help + "  quit\n      ends the simulator\n";
}

}  // namespace quillbox::simulator
