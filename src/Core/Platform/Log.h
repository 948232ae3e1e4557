// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace quillbox {

enum class LogLevel { Error, Warning, Info, Debug };

/// The system log. Any thread; never blocks on a device. One entry a call; control characters in it
/// are escaped by the adapter, so that nothing a device sends can forge a line.
class Log {
public:
    virtual ~Log() = default;

    /// Whether entries of this level are written: ask before building a costly text.
    virtual bool isEnabled(LogLevel level) const = 0;
    virtual void write(LogLevel level, std::string_view text) = 0;
};

}  // namespace quillbox
