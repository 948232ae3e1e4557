// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox::simulator {

/// Wrong usage: the message says what is wrong, in one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A command line taken apart: words, options with a value ("--name VALUE" or "--name=VALUE") and
/// switches. Everything after "--" is a word.
class Arguments {
public:
    /// Throws UsageError for an option that is neither in `valued` nor in `switches`, or without
    /// its value, and for one given twice.
    Arguments(std::span<const std::string> arguments, const std::set<std::string>& valued,
              const std::set<std::string>& switches);

    [[nodiscard]] const std::vector<std::string>& words() const { return words_; }

    [[nodiscard]] bool has(const std::string& name) const;
    [[nodiscard]] std::optional<std::string> value(const std::string& name) const;
    /// The value as a number of at most `most`; throws UsageError when it is none.
    [[nodiscard]] std::optional<std::uint64_t> number(const std::string& name,
                                                      std::uint64_t most = ~std::uint64_t{0}) const;

private:
    std::vector<std::string> words_;
    std::map<std::string, std::string> values_;
};

/// A whole decimal number; throws UsageError naming `what` when the text is none or above `most`.
[[nodiscard]] std::uint64_t parseNumber(std::string_view text, std::string_view what,
                                        std::uint64_t most = ~std::uint64_t{0});

/// A number with an optional fraction, not negative; throws UsageError naming `what` otherwise.
[[nodiscard]] double parseFraction(std::string_view text, std::string_view what);

}  // namespace quillbox::simulator
