// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/SystemLog.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace quillbox::host {

namespace {

constexpr std::array<std::string_view, 4> kLevelNames{"error", "warning", "info", "debug"};
constexpr std::array kPriorities{LOG_ERR, LOG_WARNING, LOG_INFO, LOG_DEBUG};

/// Length of the well-formed UTF-8 sequence at the start of a text, 0 when there is none; the code
/// point in `point`.
std::size_t sequenceLength(std::string_view text, std::uint32_t* point) {
    const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byteAt(0);
    if (first < 0x80) {
        *point = first;
        return 1;
    }
    const std::size_t length = first >= 0xF0 && first < 0xF5   ? 4
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xC2 && first < 0xE0 ? 2
                                                               : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    std::uint32_t value = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0U) != 0x80U) {
            return 0;
        }
        value = (value << 6U) | (byteAt(i) & 0x3FU);
    }
    constexpr std::array<std::uint32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
    const bool valid =
        value >= kLeast.at(length) && value <= 0x10FFFF && !(value >= 0xD800 && value <= 0xDFFF);
    *point = value;
    return valid ? length : 0;
}

bool breaksALine(std::uint32_t point) {
    return point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x2028 || point == 0x2029;
}

void appendEscaped(std::string& line, std::string_view bytes) {
    for (const char each : bytes) {
        switch (each) {
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        case '\t':
            line += "\\t";
            break;
        default:
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(each)));
            line += escape.data();
        }
    }
}

/// systemd names the journal's own stream by device and inode.
bool leadsToJournal(int descriptor) {
    const char* stream = std::getenv("JOURNAL_STREAM");
    struct stat status = {};
    return stream != nullptr && ::fstat(descriptor, &status) == 0 &&
           std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

}  // namespace

std::string escapedForLog(std::string_view text) {
    while (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        std::uint32_t point = 0;
        const std::size_t length = sequenceLength(text, &point);
        const auto bytes = text.substr(0, length == 0 ? 1 : length);
        if (length == 0 || breaksALine(point)) {
            appendEscaped(line, bytes);
        } else {
            line += bytes;
        }
        text.remove_prefix(bytes.size());
    }
    return line;
}

std::optional<LogLevel> logLevelNamed(std::string_view word) {
    for (std::size_t i = 0; i < kLevelNames.size(); ++i) {
        if (kLevelNames.at(i) == word) {
            return static_cast<LogLevel>(i);
        }
    }
    return std::nullopt;
}

SystemLog::SystemLog(LogLevel threshold, int descriptor, bool toSystemLog)
    : threshold_(threshold),
      descriptor_(descriptor),
      toSystemLog_(toSystemLog && !leadsToJournal(descriptor)) {
    if (toSystemLog_) {
        ::openlog("quillbox", LOG_PID, LOG_USER);
    }
}

SystemLog::~SystemLog() {
    if (toSystemLog_) {
        ::closelog();
    }
}

void SystemLog::write(LogLevel level, std::string_view text) {
    if (!isEnabled(level)) {
        return;
    }
    const auto index = static_cast<std::size_t>(level);
    const std::string entry = escapedForLog(text);
    std::string line = "quillbox: ";
    if (level != LogLevel::Info) {
        line.append(kLevelNames.at(index)).append(": ");
    }
    line.append(entry).append("\n");

    const std::lock_guard guard(mutex_);
    std::string_view left = line;
    while (!left.empty()) {
        const auto written = ::write(descriptor_, left.data(), left.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            break;  // nobody reads standard error: the system log still has the entry
        }
        left.remove_prefix(static_cast<std::size_t>(written));
    }
    if (toSystemLog_) {
        ::syslog(kPriorities.at(index), "%s", entry.c_str());
    }
}

}  // namespace quillbox::host
