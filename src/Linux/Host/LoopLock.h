// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Lock.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/RunLoop.h"

#include <memory>

namespace quillbox::host {

/// Locks that the main thread waits for through the loop, and every other thread by blocking. The
/// loop and the log must outlive the locks.
class LoopLocks final : public Locks {
public:
    LoopLocks(RunLoop& loop, Log& log) : loop_(loop), log_(log) {}

    std::unique_ptr<NSLock> makeLock(const void* subject) override;

private:
    RunLoop& loop_;
    Log& log_;
};

}  // namespace quillbox::host
