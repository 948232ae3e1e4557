// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/DesktopEntry.h"

#include <utility>

namespace quillbox::host {

namespace {

constexpr std::string_view kBlanks = " \t\r";
/// What a plain argument of `Exec` may not hold.
constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";
/// What is escaped within quotes.
constexpr std::string_view kEscapedInQuotes = "\"`$\\";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string unescapedValue(std::string_view value) {
    std::string plain;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            plain += value[i];
            continue;
        }
        switch (const char code = value[++i]) {
        case 's':
            plain += ' ';
            break;
        case 'n':
            plain += '\n';
            break;
        case 't':
            plain += '\t';
            break;
        case 'r':
            plain += '\r';
            break;
        case '\\':
            plain += '\\';
            break;
        default:
            plain += '\\';
            plain += code;
        }
    }
    return plain;
}

/// Takes lines off the front of a text.
std::string_view nextLine(std::string_view* text) {
    const auto end = text->find('\n');
    const auto line = text->substr(0, end);
    text->remove_prefix(end == std::string_view::npos ? text->size() : end + 1);
    return line;
}

/// Splits an `Exec` value into arguments, one character after the other.
class ExecReader {
public:
    std::optional<std::vector<std::string>> read(std::string_view exec) {
        for (std::size_t i = 0; i < exec.size(); ++i) {
            const char each = exec[i];
            const bool more = i + 1 < exec.size();
            if (quoted_ && each == '\\' && more &&
                kEscapedInQuotes.find(exec[i + 1]) != std::string_view::npos) {
                argument_ += exec[++i];
            } else if (each == '"') {
                quoted_ = !quoted_;
                begun_ = true;
            } else if (!quoted_ && (each == ' ' || each == '\t')) {
                endArgument();
            } else if (each == '%' && more) {
                takeFieldCode(exec[++i]);
            } else {
                argument_ += each;
                begun_ = true;
            }
        }
        if (quoted_) {
            return std::nullopt;
        }
        endArgument();
        return std::move(arguments_);
    }

private:
    void takeFieldCode(char code) {
        if (code == '%') {
            argument_ += '%';
            begun_ = true;
        }
    }

    void endArgument() {
        if (begun_) {
            arguments_.push_back(std::exchange(argument_, {}));
        }
        begun_ = false;
    }

    std::vector<std::string> arguments_;
    std::string argument_;
    bool quoted_ = false;
    bool begun_ = false;
};

}  // namespace

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text) {
    DesktopEntry entry;
    bool found = false;
    bool inGroup = false;
    while (!text.empty()) {
        const auto line = trimmed(nextLine(&text));
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (line.front() == '[') {
            inGroup = !found && line == "[Desktop Entry]";
            found = found || inGroup;
            continue;
        }
        const auto equals = line.find('=');
        if (inGroup && equals != std::string_view::npos) {
            const auto key = trimmed(line.substr(0, equals));
            if (key.find('[') == std::string_view::npos) {
                entry.try_emplace(std::string(key),
                                  unescapedValue(trimmed(line.substr(equals + 1))));
            }
        }
    }
    return found ? std::optional(std::move(entry)) : std::nullopt;
}

std::string escapedValue(std::string_view value) {
    std::string escaped;
    for (std::size_t i = 0; i < value.size(); ++i) {
        switch (value[i]) {
        case '\n':
            escaped += "\\n";
            break;
        case '\t':
            escaped += "\\t";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\\':
            escaped += "\\\\";
            break;
        case ' ':
            // Only a leading or a trailing blank would be lost.
            escaped += i == 0 || i + 1 == value.size() ? "\\s" : " ";
            break;
        default:
            escaped += value[i];
        }
    }
    return escaped;
}

std::optional<std::vector<std::string>> parseExec(std::string_view exec) {
    return ExecReader().read(exec);
}

std::string quotedForExec(std::string_view argument) {
    std::string text;
    for (const char each : argument) {
        if (kEscapedInQuotes.find(each) != std::string_view::npos) {
            text += '\\';
        }
        text += each;
        if (each == '%') {
            text += '%';
        }
    }
    const bool plain =
        !argument.empty() && argument.find_first_of(kReserved) == std::string_view::npos;
    return plain ? text : "\"" + text + "\"";
}

bool isTrue(const DesktopEntry& entry, std::string_view key) {
    const auto found = entry.find(key);
    return found != entry.end() && found->second == "true";
}

std::vector<std::string> listValue(const DesktopEntry& entry, std::string_view key) {
    std::vector<std::string> parts;
    const auto found = entry.find(key);
    std::string_view rest = found == entry.end() ? std::string_view() : found->second;
    while (!rest.empty()) {
        const auto end = rest.find(';');
        if (const auto part = rest.substr(0, end); !part.empty()) {
            parts.emplace_back(part);
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return parts;
}

}  // namespace quillbox::host
