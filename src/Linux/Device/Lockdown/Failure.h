// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace quillbox::device {

/// Why a device did not do what it was asked. The number is what an `AMDevice...` call answers.
enum class FailureKind {
    None = 0,
    NotAttached = 2,        ///< it left, or the library is stopping
    NotReachable,           ///< no connection to it: refused, or the multiplexer does not answer
    NoAnswer,               ///< the connection ended or made no progress
    NoPairingRecord,        ///< this computer holds none
    DialogPending,          ///< the question waits on its screen
    PasswordProtected,      ///< locked
    Denied,                 ///< the user said no
    TrustReset,             ///< it does not know this computer's record any more
    NotUnlockedSinceStart,  ///< its services wait for the first unlock after a restart
    ServiceNotOffered,      ///< it has no such service
    ServiceLimit,           ///< the service is open too often
    Refused,                ///< any other error; `text` is the device's word
};

/// A failure with a reason for the log; `None` is success.
struct [[nodiscard]] Failure {
    FailureKind kind = FailureKind::None;
    std::string text;

    explicit operator bool() const { return kind != FailureKind::None; }
};

/// The failure that lockdown's `Error` text stands for. `forService` says that it answered a
/// StartService, where MissingValue means that the device waits for its first unlock.
Failure failureOf(std::string_view error, bool forService = false);

/// The connection is of no more use after this one; asking again on a new one may help.
inline bool isLost(FailureKind kind) {
    return kind == FailureKind::NoAnswer || kind == FailureKind::NotReachable;
}

/// It may go away by itself when the person does something at the device.
inline bool isLocked(FailureKind kind) {
    return kind == FailureKind::PasswordProtected || kind == FailureKind::NotUnlockedSinceStart;
}

}  // namespace quillbox::device
