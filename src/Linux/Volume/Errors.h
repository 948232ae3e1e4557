// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Platform/Error.h"

#include <optional>

namespace quillbox::volume {

/// The errno number for a device's reason; EIO for every word that has no closer one, for 0 too
/// (a failure without a reason).
int errnoOfDevice(AFCError reason);

/// The errno number for a delegate's "no".
///
/// A delegate reports every failed question as ENOENT and every failed transfer as EIO, though to a
/// program ENOENT means "it is gone". So ENOENT, EIO, an error that is missing, of another domain
/// or not an errno number (1 to 4095), and EPERM after a question that failed on the device stand
/// for the device's own `reason` (`VolumeBacking::lastFailure`); ENOENT is the answer only where
/// the device said so. Every other error is the delegate's to choose.
int errnoOfRefusal(const std::optional<NSError>& error, AFCError reason);

/// The errno number for a delegate's "yes" to a removal: 0, unless the test whether the item exists
/// failed for another reason than that it does not.
int errnoOfRemoval(AFCError reason);

}  // namespace quillbox::volume
