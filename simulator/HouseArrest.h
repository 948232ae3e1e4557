// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Service.h"

namespace quillbox::simulator {

/// Serves house arrest: vends an application's container or documents, then speaks the file service
/// on the same connection. After an error the client may ask again.
void serveHouseArrest(ServiceContext& context);

}  // namespace quillbox::simulator
