// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/Operations.h"

#include <atomic>
#include <cstdint>
#include <functional>

#define FUSE_USE_VERSION 312
#include <fuse_lowlevel.h>

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

/// The library's callbacks: each turns a request into one operation, and its answer, or whatever
/// was thrown, into exactly one reply. Once the queue is closed the answer is EIO, whatever was
/// asked.
const fuse_lowlevel_ops& trampolines();

}  // namespace quillbox::volume
