// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "AfcRequests.h"
#include "Faults.h"
#include "Stream.h"

namespace quillbox::simulator {

/// Sends an answer of the file service spoiled in the given way. False when the connection is to
/// end. TruncatedSilent comes back only when the client has gone.
[[nodiscard]] bool sendSpoiled(Stream& stream, std::uint64_t packetNumber, const AfcAnswer& answer,
                               Malformed variant);

/// The bytes that sendSpoiled sends.
[[nodiscard]] wire::Bytes spoil(std::uint64_t packetNumber, AfcAnswer answer, Malformed variant);

}  // namespace quillbox::simulator
