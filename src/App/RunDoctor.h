// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/Options.h"

namespace quillbox::app {

/// Looks at everything between an attached device and its volume and prints what it finds. Answers
/// the exit status: 0 when nothing stands in the way.
int runDoctor(const Options& options);

}  // namespace quillbox::app
