// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Failure.h"
#include "Linux/Device/Streams/TlsSession.h"

#include "Core/Platform/PropertyList.h"

#include <optional>
#include <string>

namespace quillbox::device {

/// What this computer and a device agreed on when they were paired. The multiplexer keeps it.
struct PairingRecord {
    std::string hostId;
    std::string systemBuid;
    std::optional<PropertyData> escrowBag;  ///< lets services start while the device is locked
    TlsIdentity identity;
};

/// Asks the multiplexer for the record of a device. Blocks for its answer, 5 s at most. Failure:
/// NoPairingRecord, also for a record without the parts that a session needs.
Failure readPairingRecord(const std::string& udid, PairingRecord& record);

}  // namespace quillbox::device
