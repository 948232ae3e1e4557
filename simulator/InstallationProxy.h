// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Service.h"

namespace quillbox::simulator {

/// Serves the list of installed applications: Lookup gives all of it at once, Browse in several
/// pieces.
void serveInstallationProxy(ServiceContext& context);

}  // namespace quillbox::simulator
