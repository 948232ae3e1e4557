// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox::control {

/// One verb of the command line.
struct Verb {
    std::string_view name;
    std::string_view arguments;  ///< as the usage shows them
    std::string_view purpose;
    std::size_t least;  ///< number of arguments
    std::size_t most;
};

std::span<const Verb> verbs();

/// What is wrong with a verb and its arguments, a sentence without its full stop; nothing where it
/// is well said. `words` is not empty.
std::optional<std::string> complaintAbout(const std::vector<std::string>& words);

/// Not for the command line: a second start of the program shows the first one with it. Its
/// arguments are the options of that start.
inline constexpr const char* kRaise = "raise";

}  // namespace quillbox::control
