// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace quillbox::desktop {

/// Why no window can be shown, as one plain sentence; none where one can. To be asked before the
/// application object is made, which ends the process where there is no display. Reads the
/// environment; may wait for the display's answer.
std::optional<std::string> whyNoDisplay();

}  // namespace quillbox::desktop
