// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace quillbox {

/// A non-recursive lock. Any thread.
class NSLock {
public:
    virtual ~NSLock() = default;

    /// Waits until the lock is free and takes it. On the main thread this is a long wait
    /// (`RunLoop.h`); ended before the lock was free it answers false and holds nothing.
    virtual bool lock() = 0;
    /// Frees the lock, whoever holds it. Of an unlocked lock: logged and harmless.
    virtual void unlock() = 0;
};

class Locks {
public:
    virtual ~Locks() = default;

    /// A new, free lock. `subject` names what a wait for it is about (a device), so that the end of
    /// that thing ends the wait; may be null.
    virtual std::unique_ptr<NSLock> makeLock(const void* subject) = 0;
};

}  // namespace quillbox
