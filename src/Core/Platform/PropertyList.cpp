// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PropertyList.h"

#include <limits>

namespace quillbox {

namespace {

template <typename... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};

template <typename... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isPlainWord(const std::string& text) {
    if (text.empty()) {
        return false;
    }
    for (const char c : text) {
        if (!isDigit(c) && !(c >= 'a' && c <= 'z') && !(c >= 'A' && c <= 'Z') && c != '_' &&
            c != '.' && c != '/') {
            return false;
        }
    }
    return true;
}

std::int64_t clampedInteger(double value) {
    constexpr double kTop = 9223372036854775808.0;
    if (!(value > -kTop)) {
        return value == value ? std::numeric_limits<std::int64_t>::min() : 0;
    }
    return value >= kTop ? std::numeric_limits<std::int64_t>::max()
                         : static_cast<std::int64_t>(value);
}

std::string quoted(const std::string& text) {
    return isPlainWord(text) ? text : "\"" + text + "\"";
}

}  // namespace

std::int64_t decimalValue(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && isBlank(text[at])) {
        ++at;
    }
    bool negative = false;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        negative = text[at] == '-';
        ++at;
    }
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    std::int64_t value = 0;
    for (; at < text.size() && isDigit(text[at]); ++at) {
        const int digit = text[at] - '0';
        if (negative ? value < (kMin + digit) / 10 : value > (kMax - digit) / 10) {
            return negative ? kMin : kMax;
        }
        value = value * 10 + (negative ? -digit : digit);
    }
    return value;
}

bool PropertyValue::boolValue() const {
    if (const auto* text = string()) {
        std::string_view rest = *text;
        while (!rest.empty() && isBlank(rest.front())) {
            rest.remove_prefix(1);
        }
        if (rest.starts_with('-') || rest.starts_with('+')) {
            rest.remove_prefix(1);
        }
        while (rest.starts_with('0')) {
            rest.remove_prefix(1);
        }
        constexpr std::string_view kTrue = "YyTt123456789";
        return !rest.empty() && kTrue.find(rest.front()) != std::string_view::npos;
    }
    if (const auto* number = get<double>()) {
        return *number != 0.0;
    }
    return integerBits() != 0;
}

std::int64_t PropertyValue::integerBits() const {
    return std::visit(
        Overloaded{[](bool value) -> std::int64_t { return value ? 1 : 0; },
                   [](std::int64_t value) { return value; },
                   [](std::uint64_t value) { return static_cast<std::int64_t>(value); },
                   [](double value) { return clampedInteger(value); },
                   [](const std::string& value) { return decimalValue(value); },
                   [](const auto&) -> std::int64_t { return 0; }},
        value_);
}

std::int64_t PropertyValue::integerValue() const {
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    if (const auto* large = get<std::uint64_t>();
        large && *large > static_cast<std::uint64_t>(kMax)) {
        return kMax;
    }
    return integerBits();
}

std::string description(const PropertyDictionary& dictionary) {
    std::string text = "{";
    for (const auto& [key, value] : dictionary) {
        text += " " + quoted(key) + " = " + description(value) + ";";
    }
    return text + " }";
}

std::string description(const PropertyValue& value) {
    return std::visit(
        Overloaded{
            [](bool truth) -> std::string { return truth ? "1" : "0"; },
            [](const std::string& text) { return quoted(text); },
            [](const PropertyData& data) { return "<" + std::to_string(data.size()) + " bytes>"; },
            [](const PropertyDate& date) {
                return std::to_string(date.time_since_epoch().count() / 1'000'000'000);
            },
            [](const PropertyArray& array) {
                std::string text = "(";
                for (const auto& each : array) {
                    text += (text.size() > 1 ? ", " : " ") + description(each);
                }
                return text + " )";
            },
            [](const PropertyDictionary& dictionary) { return description(dictionary); },
            [](const auto& number) { return std::to_string(number); }},
        value.variant());
}

}  // namespace quillbox
