// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/Doctor.h"

#include <vector>

namespace quillbox::app {

/// The versions of the libraries that the program runs with, where they tell them, else of those
/// it was built with.
std::vector<control::Finding> libraryFindings();

}  // namespace quillbox::app
