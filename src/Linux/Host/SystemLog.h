// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace quillbox::host {

/// A text made fit for one line of a log: control characters, line separators and bytes that are
/// not UTF-8 become escapes such as \n and \x1b; line feeds at the end are dropped.
std::string escapedForLog(std::string_view text);

/// "error", "warning", "info" or "debug"; none for any other word.
std::optional<LogLevel> logLevelNamed(std::string_view word);

/// Standard error and the system log, one line an entry, beginning with the program's name. Where
/// standard error already leads to the journal, the entry goes there once. Any thread.
class SystemLog final : public Log {
public:
    /// Entries above `threshold` (in the order error, warning, info, debug) are left out.
    /// `descriptor` takes the lines.
    explicit SystemLog(LogLevel threshold, int descriptor = 2, bool toSystemLog = true);
    ~SystemLog() override;
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

    bool isEnabled(LogLevel level) const override { return level <= threshold_; }

    void write(LogLevel level, std::string_view text) override;

private:
    const LogLevel threshold_;
    const int descriptor_;
    bool toSystemLog_;
    std::mutex mutex_;  ///< one entry at a time
};

}  // namespace quillbox::host
