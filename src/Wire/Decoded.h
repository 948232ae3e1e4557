// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string_view>
#include <utility>

namespace quillbox::wire {

/// Why bytes from the other side were not taken.
enum class WireError {
    None,
    TooShort,         ///< fewer bytes than the fixed part needs
    WrongMagic,       ///< the packet does not begin with its signature
    WrongVersion,     ///< a protocol version that is not spoken here
    LengthTooSmall,   ///< a length field smaller than what it must include
    LengthTooLarge,   ///< a length field above the stated cap
    LengthsDisagree,  ///< a part that would be longer than its whole
    NotTerminated,    ///< a text list without its closing NUL
    OddCount,         ///< a key/value list with a key that has no value
    TooManyEntries    ///< a list with more entries than the stated cap
};

/// A few plain words for logs.
[[nodiscard]] std::string_view describe(WireError error);

/// What a decoder gives back: a value, or the reason why there is none.
template <typename T>
class [[nodiscard]] Decoded {
public:
    Decoded(T value) : value_{std::move(value)} {}

    Decoded(WireError error) : error_{error} {}

    [[nodiscard]] explicit operator bool() const { return value_.has_value(); }

    [[nodiscard]] WireError error() const { return error_; }

    /// Only for a decoded value that is there.
    [[nodiscard]] const T& operator*() const { return *value_; }

    [[nodiscard]] T& operator*() { return *value_; }

    [[nodiscard]] const T* operator->() const { return &*value_; }

private:
    std::optional<T> value_;
    WireError error_ = WireError::None;
};

}  // namespace quillbox::wire
