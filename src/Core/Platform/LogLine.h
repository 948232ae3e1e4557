// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Error.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/PropertyList.h"

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox {

/// The pieces that log lines are made of, each as "%@" or "%d" shows it.
inline void appendText(std::string& line, std::string_view text) {
    line += text;
}

inline void appendText(std::string& line, const std::string& text) {
    line += text;
}

inline void appendText(std::string& line, const char* text) {
    line += text;
}

template <std::integral Number>
void appendText(std::string& line, Number number) {
    line += std::to_string(number);
}

inline void appendText(std::string& line, const std::optional<std::string>& text) {
    line += text ? *text : "(null)";
}

inline void appendText(std::string& line, const PropertyDictionary& dictionary) {
    line += description(dictionary);
}

inline void appendText(std::string& line, const std::shared_ptr<PropertyDictionary>& dictionary) {
    line += dictionary ? description(*dictionary) : "(null)";
}

inline void appendText(std::string& line, const std::vector<std::string>& texts) {
    line += description(PropertyValue(PropertyArray(texts.begin(), texts.end())));
}

inline void appendText(std::string& line, const NSError& error) {
    line += description(error);
}

/// Writes one entry made of the pieces in order. The text is only built when entries of this level
/// are written: the lines of a volume's callbacks stand on the path of every read.
template <typename... Pieces>
void logLine(Log& log, LogLevel level, const Pieces&... pieces) {
    if (!log.isEnabled(level)) {
        return;
    }
    std::string line;
    (appendText(line, pieces), ...);
    log.write(level, line);
}

}  // namespace quillbox
