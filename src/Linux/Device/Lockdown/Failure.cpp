// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/Failure.h"

#include <array>
#include <utility>

namespace quillbox::device {

Failure failureOf(std::string_view error, bool forService) {
    using Entry = std::pair<std::string_view, FailureKind>;
    static constexpr std::array kKinds{
        Entry{"PairingDialogResponsePending", FailureKind::DialogPending},
        Entry{"PasswordProtected", FailureKind::PasswordProtected},
        Entry{"EscrowLocked", FailureKind::PasswordProtected},
        Entry{"UserDeniedPairing", FailureKind::Denied},
        Entry{"InvalidHostID", FailureKind::TrustReset},
        Entry{"InvalidPairRecord", FailureKind::TrustReset},
        Entry{"InvalidService", FailureKind::ServiceNotOffered},
        Entry{"ServiceProhibited", FailureKind::ServiceNotOffered},
        Entry{"ServiceLimit", FailureKind::ServiceLimit},
    };
    if (forService && error == "MissingValue") {
        return {FailureKind::NotUnlockedSinceStart, std::string{error}};
    }
    for (const auto& [name, kind] : kKinds) {
        if (name == error) {
            return {kind, std::string{error}};
        }
    }
    return {FailureKind::Refused, std::string{error}};
}

}  // namespace quillbox::device
