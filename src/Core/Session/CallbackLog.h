// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/LogLine.h"
#include "Core/Session/PodPhone.h"

namespace quillbox {

/// Lines of the volume's callbacks, their error lines included: a missing file is an everyday
/// matter, and every read passes here.
template <typename... Pieces>
void PodPhone::logCallback(const Pieces&... pieces) const {
    logLine(platform_.log, LogLevel::Debug, pieces...);
}

}  // namespace quillbox
