// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Linux/Host/FileDescriptor.h"

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace quillbox::app {

/// Sees to it that the program ends when it was asked to, whatever holds the main thread: some time
/// after the first ending signal, or after `arm`, it takes every volume out of sight by itself and
/// ends the process without further ceremony. Destroying it in time calls it off.
class LastResort {
public:
    /// `paths` gives the mounted volumes; called on a thread of this object.
    LastResort(Log& log, std::chrono::milliseconds patience,
               std::function<std::vector<std::string>()> paths);
    ~LastResort();
    LastResort(const LastResort&) = delete;
    LastResort& operator=(const LastResort&) = delete;

    /// The end of the program has begun without a signal. Any thread.
    void arm();

private:
    void watch() const;
    [[noreturn]] void endTheProgram() const;

    Log& log_;
    const std::chrono::milliseconds patience_;
    const std::function<std::vector<std::string>()> paths_;
    host::FileDescriptor reader_, writer_;
    std::thread thread_;
};

}  // namespace quillbox::app
