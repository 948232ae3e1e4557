// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

namespace quillbox {

/// The time limits of the device library. The defaults are what the ports promise; tests shorten
/// them.
struct DeviceOptions {
    using Milliseconds = std::chrono::milliseconds;

    /// A request to a device that makes no progress for this long has failed and its connection
    /// counts as broken.
    Milliseconds noProgress{30'000};
    /// The same for opening a lost connection again, which other requests may be waiting for.
    Milliseconds reopenNoProgress{5'000};
    /// A lost connection is not tried more often than this.
    Milliseconds reopenPause{1'000};
    /// An attached device that cannot be reached for this long is announced as gone.
    Milliseconds unreachable{60'000};
    /// Pause before a device that is locked, undecided or silent is asked again.
    Milliseconds askAgain{5'000};
    /// Longest wait for an answer of the multiplexer itself.
    Milliseconds multiplexerAnswer{5'000};
    /// Pause between two questions whether the multiplexer still answers.
    Milliseconds multiplexerCheck{3'000};
    /// How long a device may be missing from the list after the multiplexer went away or came back
    /// until it counts as gone. A daemon that starts anew shows an empty list for up to 0.8 s.
    Milliseconds multiplexerGrace{1'500};
    /// Longest wait for threads at the end.
    Milliseconds stop{2'000};
};

}  // namespace quillbox
