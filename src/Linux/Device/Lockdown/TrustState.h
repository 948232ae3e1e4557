// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace quillbox {

/// How an attached device stands towards this computer.
enum class DeviceTrustState {
    Unknown,                ///< not asked yet
    Trusted,                ///< a session was opened
    DialogPending,          ///< the question waits on its screen
    Locked,                 ///< it cannot ask while it is locked
    Denied,                 ///< the user said no
    TrustReset,             ///< it does not know this computer's pairing record any more
    NotUnlockedSinceStart,  ///< trusted, but its services wait for the first unlock
    Silent,                 ///< it does not answer
    Refused,                ///< pairing failed for another reason
    Gone                    ///< it is not attached any more
};

/// The state in words for a person, with what helps: one plain sentence without a full stop.
std::string_view describe(DeviceTrustState state);

}  // namespace quillbox
