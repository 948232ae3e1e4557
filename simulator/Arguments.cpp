// SPDX-License-Identifier: GPL-3.0-or-later
#include "Arguments.h"

#include <charconv>
#include <cmath>

namespace quillbox::simulator {

Arguments::Arguments(std::span<const std::string> arguments, const std::set<std::string>& valued,
                     const std::set<std::string>& switches) {
    bool onlyWords = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (onlyWords || !argument.starts_with("--")) {
            words_.push_back(argument);
            continue;
        }
        if (argument == "--") {
            onlyWords = true;
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const bool attached = equals != std::string::npos;
        std::string value;
        if (valued.contains(name)) {
            if (!attached && i + 1 == arguments.size()) {
                throw UsageError{name + " needs a value"};
            }
            value = attached ? argument.substr(equals + 1) : arguments[++i];
        } else if (!switches.contains(name)) {
            throw UsageError{"unknown option " + name};
        } else if (attached) {
            throw UsageError{name + " takes no value"};
        }
        if (!values_.emplace(name, std::move(value)).second) {
            throw UsageError{name + " is given twice"};
        }
    }
}

bool Arguments::has(const std::string& name) const {
    return values_.contains(name);
}

std::optional<std::string> Arguments::value(const std::string& name) const {
    const auto found = values_.find(name);
    return found == values_.end() ? std::nullopt : std::optional{found->second};
}

std::optional<std::uint64_t> Arguments::number(const std::string& name, std::uint64_t most) const {
    const auto text = value(name);
    return text ? std::optional{parseNumber(*text, name, most)} : std::nullopt;
}

std::uint64_t parseNumber(std::string_view text, std::string_view what, std::uint64_t most) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || number > most) {
        throw UsageError{std::string{what} + " cannot be \"" + std::string{text} + "\""};
    }
    return number;
}

double parseFraction(std::string_view text, std::string_view what) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    constexpr double kMost = 1e6;
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() ||
        !std::isfinite(number) || number < 0 || number > kMost) {
        throw UsageError{std::string{what} + " cannot be \"" + std::string{text} + "\""};
    }
    return number;
}

}  // namespace quillbox::simulator
