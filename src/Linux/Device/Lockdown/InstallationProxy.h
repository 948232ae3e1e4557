// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Device.h"

#include "Core/Platform/PropertyList.h"

namespace quillbox::device {

/// Installed applications: bundle identifier to attributes. `options` travel as they are
/// ("ApplicationType", "ReturnAttributes", "BundleIDs"). Where the device knows no lookup it is
/// asked to browse. Blocks for the device.
Failure lookupApplications(Device& device, const PropertyDictionary& options,
                           PropertyDictionary& applications);

}  // namespace quillbox::device
