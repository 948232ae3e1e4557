// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Platform/UserFileSystem.h"

#include <cstdint>
#include <string>

namespace quillbox {

/// What a volume asks the device beside its delegate: why an answer was "no", and the two changes
/// that the delegate accepts without applying. One for each volume; every call goes to the
/// connection that the delegate uses at that moment, with the path that the session makes of the
/// volume's path.
///
/// Threads: called by the volume's threads, on the thread of the delegate call that it belongs to,
/// under the same one-at-a-time rule. Blocking as in `AFC.h`.
class VolumeBacking {
public:
    virtual ~VolumeBacking() = default;

    /// The connection that the delegate uses now; 0 when it has none. Any thread.
    virtual AFCConnectionRef connection() = 0;

    /// Forgets earlier failures; called before each question that the volume puts to its delegate.
    virtual void beginCall() = 0;
    /// The device's last failure since `beginCall` on this thread, 0 when there was none.
    virtual AFCError lastFailure() = 0;

    /// Whether the delegate's writes of the calling thread may answer before the device has; the
    /// failure of one is answered by the next write to that file or by `finishWrites`.
    virtual void answerWritesEarly(bool /*early*/) {}

    /// Waits until the device has taken all that was written to an open file. 0 or the device's
    /// reason for the first write that failed and that nobody was told of.
    virtual AFCError finishWrites(const GMUserData& /*userData*/) { return kAFCSuccess; }

    /// A program has its answer, and the calling thread has a moment: what the device has sent
    /// ahead can be taken in. Never waits. Called beside delegate calls.
    virtual void useMoment() {}

    /// Sets a file's size; through the open file where `userData` is given (the path may be gone by
    /// then), else by path. 0 or the device's reason.
    virtual AFCError setFileSize(const std::string& path, const GMUserData& userData,
                                 std::uint64_t size) = 0;
    /// Sets a modification time, nanoseconds since 1970-01-01 UTC (earlier dates are refused with
    /// `kAFCInvalidArgument`: the protocol has no sign for them).
    virtual AFCError setModificationTime(const std::string& path, std::int64_t nanoseconds) = 0;
};

}  // namespace quillbox
