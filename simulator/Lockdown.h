// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Service.h"

namespace quillbox::simulator {

/// The port of lockdown: the one service of a device that needs no starting.
inline constexpr std::uint16_t kLockdownPort = 62078;

/// Serves lockdown until the client leaves: values, pairing, sessions, starting of services.
void serveLockdown(ServiceContext& context);

}  // namespace quillbox::simulator
