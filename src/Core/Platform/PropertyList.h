// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillbox {

class PropertyValue;
using PropertyData = std::vector<std::uint8_t>;
using PropertyArray = std::vector<PropertyValue>;
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;
/// A point in time, whole nanoseconds since 1970-01-01 UTC.
using PropertyDate = std::chrono::time_point<std::chrono::system_clock,
                                             std::chrono::duration<std::int64_t, std::nano>>;

/// One value of a property list: what lockdown answers, preferences hold, attribute dictionaries
/// and open-file records are made of. A plain value, compared by content.
class PropertyValue {
public:
    using Variant = std::variant<bool, std::int64_t, std::uint64_t, double, std::string,
                                 PropertyData, PropertyDate, PropertyArray, PropertyDictionary>;

    PropertyValue(bool value) : value_(value) {}

    PropertyValue(int value) : value_(static_cast<std::int64_t>(value)) {}

    PropertyValue(std::int64_t value) : value_(value) {}

    PropertyValue(std::uint64_t value) : value_(value) {}

    PropertyValue(unsigned value) : value_(static_cast<std::uint64_t>(value)) {}

    PropertyValue(double value) : value_(value) {}

    PropertyValue(const char* value) : value_(std::string(value)) {}

    PropertyValue(std::string_view value) : value_(std::string(value)) {}

    PropertyValue(std::string value) : value_(std::move(value)) {}

    PropertyValue(PropertyData value) : value_(std::move(value)) {}

    PropertyValue(PropertyDate value) : value_(value) {}

    PropertyValue(PropertyArray value) : value_(std::move(value)) {}

    PropertyValue(PropertyDictionary value) : value_(std::move(value)) {}

    /// The value as T where that is the stored type, else null.
    template <typename T>
    const T* get() const {
        return std::get_if<T>(&value_);
    }

    const std::string* string() const { return get<std::string>(); }

    const PropertyDictionary* dictionary() const { return get<PropertyDictionary>(); }

    const PropertyArray* array() const { return get<PropertyArray>(); }

    /// The truth of a stored boolean or number. A string is true when, behind blanks, a sign and
    /// zeros, it goes on with one of "YyTt" or a digit; anything else is false.
    bool boolValue() const;
    /// A stored number or boolean as a signed 64-bit number (clamped), the leading decimal digits
    /// of a string, else 0.
    std::int64_t integerValue() const;

    /// The same as an unsigned number; negative ones keep their bits, as a cast does.
    std::uint64_t unsignedValue() const { return static_cast<std::uint64_t>(integerBits()); }

    const Variant& variant() const { return value_; }

    friend bool operator==(const PropertyValue& a, const PropertyValue& b) {
        return a.value_ == b.value_;
    }

private:
    std::int64_t integerBits() const;

    Variant value_;
};

/// The value under a key, or null. The pointer lives as long as the dictionary is unchanged.
inline const PropertyValue* find(const PropertyDictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}

/// Leading blanks, a sign and decimal digits of a text as a signed 64-bit number: 0 when there are
/// none, clamped to the type's range when there are too many.
std::int64_t decimalValue(std::string_view text);

/// The text that "%@" makes of a value, in the old property-list style: `{ key = value; }`, `( a, b
/// )`.
std::string description(const PropertyValue& value);
std::string description(const PropertyDictionary& dictionary);

}  // namespace quillbox
