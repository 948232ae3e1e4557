// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/Operations.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace quillbox::volume {

/// What a session answers with; its address is the session's user data.
struct Served {
    Operations& operations;
    DelegateQueue& queue;
    /// Called once kernel and volume have agreed on the protocol, on a thread that answers
    /// requests.
    std::function<void()> whenKernelAnswers;

    // Of the first exchange (`KernelChannel.h`).
    std::atomic<std::uint64_t> firstRequest = 0;
    std::atomic<bool> wantsParallelFolders = false;
};

}  // namespace quillbox::volume
