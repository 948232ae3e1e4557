// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Counters.h"
#include "Device.h"
#include "Faults.h"
#include "Stream.h"

#include <optional>
#include <string_view>

namespace quillbox::simulator {

/// What all services of all devices share. It outlives them.
struct Environment {
    KeyPair key;
    Faults faults;
    Counters counters;
};

/// One connection of a client to a service of a device.
struct ServiceContext {
    Environment& environment;
    Device& device;
    Stream& stream;

    /// Counts a request that has come in, waits while it is stalled, and says what becomes of it;
    /// nothing when the client has gone meanwhile.
    [[nodiscard]] std::optional<Verdict> admit(std::string_view kind);
};

/// Goes over to TLS with the pairing's certificates; false when the client cannot show one of them.
[[nodiscard]] bool secure(ServiceContext& context, const Pairing& pairing);

}  // namespace quillbox::simulator
