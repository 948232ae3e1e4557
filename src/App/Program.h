// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/Options.h"

namespace quillbox::app {

/// Builds the program from its parts, runs it until it is asked to end, and takes it down again
/// with every volume unmounted. Answers the exit status. To be called once, on the main thread,
/// before any other thread exists.
int runProgram(const Options& options);

}  // namespace quillbox::app
