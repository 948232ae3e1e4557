// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/Options.h"

namespace quillbox::app {

/// Says the verb of the command line to the running program and prints what it answers. Answers the
/// exit status.
int runVerb(const Options& options);

}  // namespace quillbox::app
