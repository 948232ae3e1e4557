// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "AfcFiles.h"
#include "Service.h"

namespace quillbox::simulator {

/// Serves the file service over `area` until the client leaves. With `locksWithDevice` every
/// request is refused while the device is locked, the way an application's documents are.
void serveAfc(ServiceContext& context, AfcArea area, bool locksWithDevice);

}  // namespace quillbox::simulator
