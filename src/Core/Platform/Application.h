// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

/// The running program as its windows and its menu see it. Main thread only; nothing blocks.
class Application {
public:
    virtual ~Application() = default;

    /// Brings all windows of the program to the front.
    virtual void arrangeInFront() = 0;
    /// Makes it the program that the user works with; `ignoringOtherApps` also where another one is
    /// at work, as far as the desktop lets it.
    virtual void activate(bool ignoringOtherApps) = 0;
    /// Asks for the end of the program and returns; what is to be done at quit comes later.
    virtual void terminate() = 0;
};

/// What is known about earlier runs that crashed. Main thread only.
class CrashReporter {
public:
    virtual ~CrashReporter() = default;

    /// Tells the user about reports that are new since the last check, once for each, and offers to
    /// show them. Does not block.
    virtual void checkForNewCrashes() = 0;
};

}  // namespace quillbox
