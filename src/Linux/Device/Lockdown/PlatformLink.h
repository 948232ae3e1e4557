// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/RunLoop.h"

#include <functional>
#include <memory>
#include <shared_mutex>
#include <string>
#include <string_view>

namespace quillbox::device {

/// The way to the log and to the main loop for everything in this folder. After `close` it leads
/// nowhere, so that a thread which had to be left behind inside a library at the end touches
/// nothing that is gone. Any thread.
class PlatformLink {
public:
    PlatformLink(RunLoop& runLoop, Log& log) : runLoop_{&runLoop}, log_{&log} {}

    void error(std::string_view text) { write(LogLevel::Error, text); }

    void warning(std::string_view text) { write(LogLevel::Warning, text); }

    void info(std::string_view text) { write(LogLevel::Info, text); }

    void debug(std::string_view text) { write(LogLevel::Debug, text); }

    bool isMainThread();
    void post(std::function<void()> task);
    void endWaits(const void* subject);
    void finish(const std::shared_ptr<Completion>& completion);
    /// Main thread only. Not within the lock: a wait lasts.
    bool wait(const std::shared_ptr<Completion>& completion, const void* subject,
              const std::string& what);

    /// Returns once no other thread is inside the log or the main loop on our behalf.
    void close();

private:
    void write(LogLevel level, std::string_view text);

    std::shared_mutex mutex_;
    RunLoop* runLoop_;
    Log* log_;
};

}  // namespace quillbox::device
