// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Service.h"

namespace quillbox::simulator {

/// Serves the home screen: the pictures of applications and how they are laid out.
void serveHomeScreen(ServiceContext& context);

}  // namespace quillbox::simulator
