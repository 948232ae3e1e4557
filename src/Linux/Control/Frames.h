// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox::control {

/// A list of texts as one message: the length of what follows in 4 bytes, then each text as its
/// length in 4 bytes and its bytes. Numbers are big-endian.
std::string encodeFrame(const std::vector<std::string>& texts);

/// Puts the pieces that a stream delivers together to one message. What comes is not trusted: a
/// message that is too long or whose lengths contradict each other is refused.
class FrameReader {
public:
    /// `longest` bounds a message without its first 4 bytes, `most` the number of its texts.
    FrameReader(std::size_t longest, std::size_t most) : longest_(longest), most_(most) {}

    /// Takes the next bytes. False when no good message can come any more: too long, malformed, or
    /// more than one.
    bool add(std::string_view bytes);

    /// The message, once it is whole.
    const std::optional<std::vector<std::string>>& texts() const { return texts_; }

private:
    bool decode(std::string_view body);

    const std::size_t longest_;
    const std::size_t most_;
    std::string received_;
    std::optional<std::vector<std::string>> texts_;
};

}  // namespace quillbox::control
