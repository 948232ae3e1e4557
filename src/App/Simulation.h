// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Host/ChildProcess.h"
#include "Linux/Host/PrivateFolder.h"

#include <memory>
#include <string>

namespace quillbox::app {

/// One simulated phone behind a multiplexer socket of its own, a child process. It and its files
/// go with this object. Main thread.
class Simulation {
public:
    /// Prepares a private folder for the phone; null, with the reason in `error`, when there can be
    /// none.
    static std::unique_ptr<Simulation> prepare(std::string* error);

    explicit Simulation(host::PrivateFolder folder) : folder_(std::move(folder)) {}

    /// The multiplexer socket to be.
    std::string socket() const { return folder_.path() + "/multiplexer"; }

    /// Starts the phone, with `media` as its media area or with sample content where that is empty,
    /// and waits until it listens (at most 30 seconds). False with the reason in `error`.
    bool start(const std::string& program, const std::string& media, std::string* error);

private:
    host::PrivateFolder folder_;
    std::unique_ptr<host::ChildProcess> child_;
};

}  // namespace quillbox::app
