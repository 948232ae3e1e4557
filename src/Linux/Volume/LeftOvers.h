// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"

#include <string>

namespace quillbox {

/// Clears away what a crash left: volumes of ours directly in a folder that belong to this user and
/// whose program is gone, and the empty folders that they stood on. A volume that answers, however
/// slowly, belongs to a live program and is not touched. To be called at the start, before the
/// first mount; takes at most about a second for each volume that does not answer.
void removeLeftOverVolumes(const std::string& folder, Log& log);

}  // namespace quillbox
