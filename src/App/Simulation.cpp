// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Simulation.h"

#include "Linux/Host/UserFolders.h"

#include <filesystem>
#include <utility>
#include <vector>

namespace quillbox::app {

std::unique_ptr<Simulation> Simulation::prepare(std::string* error) {
    auto folder = host::PrivateFolder::make(host::temporaryFolder(), error);
    return folder ? std::make_unique<Simulation>(std::move(*folder)) : nullptr;
}

bool Simulation::start(const std::string& program, const std::string& media, std::string* error) {
    // As any phone that one can buy: its media area, and no way to the rest of its files.
    std::vector<std::string> arguments{"--socket",  socket(),
                                       "--control", folder_.path() + "/control",
                                       "--state",   folder_.path() + "/state",
                                       "--devices", "1",
                                       "--no-afc2", "--exit-with-parent"};
    if (media.empty()) {
        arguments.emplace_back("--sample");
    } else {
        std::error_code failure;
        if (!std::filesystem::is_directory(media, failure)) {
            *error = "The media area of the simulated phone is no folder: " + media;
            return false;
        }
        arguments.emplace_back("--media");
        arguments.push_back(std::filesystem::absolute(media).lexically_normal());
    }
    std::string reason;
    child_ = host::ChildProcess::start(program, arguments, &reason);
    if (!child_) {
        *error = "The simulated phone " + program + " cannot be started: " + reason;
        return false;
    }
    if (!child_->waitForLine("ready", std::chrono::seconds(30))) {
        *error = "The simulated phone ended, or was not ready in time.";
        return false;
    }
    return true;
}

}  // namespace quillbox::app
