// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"

#include <optional>

namespace quillbox::wire {

/// Builds the parameters of an AFC packet: words and texts in the order of the calls.
class AfcParameters {
public:
    /// Appends a little-endian 64-bit number.
    AfcParameters& word(std::uint64_t value);

    /// Appends a text and its closing NUL. A text that holds a NUL itself cannot travel: it would
    /// be cut there and name another file. It is left out and the parameters are no longer valid.
    AfcParameters& path(std::string_view text);

    /// Whether everything could be appended. Parameters that are not valid must not be sent.
    [[nodiscard]] bool valid() const { return valid_; }

    [[nodiscard]] ByteView bytes() const { return bytes_; }

private:
    Bytes bytes_;
    bool valid_ = true;
};

/// Takes the parameters of an AFC packet apart. It reads in place: the bytes must outlive it.
class AfcParameterReader {
public:
    explicit AfcParameterReader(ByteView bytes) : rest_{bytes} {}

    /// The next 64-bit number; nothing when fewer than 8 bytes are left.
    [[nodiscard]] std::optional<std::uint64_t> word();

    /// The next text; nothing when its closing NUL is missing.
    [[nodiscard]] std::optional<std::string> path();

    /// What has not been read yet.
    [[nodiscard]] ByteView rest() const { return rest_; }

private:
    ByteView rest_;
};

}  // namespace quillbox::wire
