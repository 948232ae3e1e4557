// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/Options.h"
#include "Linux/Control/SingleInstance.h"

#include <string>
#include <vector>

namespace quillbox::app {

/// Which running program these options and this environment speak of. A simulated phone's socket
/// is in the environment once it is prepared.
control::InstanceKey instanceKey(const Options& options);
/// Whether the environment names a multiplexer.
bool environmentNamesMultiplexer();

/// The running programs that a command line and this environment may mean.
std::vector<control::Instance> fittingInstances(const Options& options,
                                                const std::string& runtimeFolder);

inline constexpr const char* kMultiplexerVariable = "USBMUXD_SOCKET_ADDRESS";

}  // namespace quillbox::app
