// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/MobileDevice.h"
#include "Core/Platform/NotificationCenter.h"

namespace quillbox {

/// What the object layer over AFC works on. All references outlive every object of the layer.
struct AFCPlatform {
    MobileDevice& devices;
    AFC& afc;
    NotificationCenter& notifications;
    Log& log;
};

}  // namespace quillbox
