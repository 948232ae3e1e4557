// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Service.h"

namespace quillbox::simulator {

/// Serves a started service until its client leaves. The calling thread is the service's.
void serve(ServiceContext& context, const StartedService& service);

}  // namespace quillbox::simulator
