// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

/// Forgets every controller of a window, and with it its window. The next use makes a new one. For
/// tests, and for the end of the program, while the platform is still there.
void resetWindowControllers();

}  // namespace quillbox
