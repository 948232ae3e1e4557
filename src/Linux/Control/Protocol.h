// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::control {

/// Exit statuses of the verbs.
inline constexpr int kDone = 0;
inline constexpr int kCouldNot = 1;
inline constexpr int kBadUsage = 2;
inline constexpr int kNotRunning = 3;

/// One verb with its arguments on the way to the running program.
struct Request {
    std::string verb;
    bool json = false;
    std::vector<std::string> arguments;
};

/// What the program makes of it.
struct Answer {
    int status = kDone;
    std::string output;  ///< for standard output, whole lines
    std::string error;   ///< one line without its end, for a status that is not 0
};

/// Bounds of a message, either way: what is longer is refused by the receiver.
inline constexpr std::size_t kLongestRequest = 64 * 1024;
inline constexpr std::size_t kMostRequestTexts = 16;
inline constexpr std::size_t kLongestAnswer = 8 * 1024 * 1024;
inline constexpr std::size_t kMostAnswerTexts = 3;

std::vector<std::string> toTexts(const Request& request);
std::vector<std::string> toTexts(const Answer& answer);
/// None where the texts are no request, or one of another version of this protocol.
std::optional<Request> requestFrom(const std::vector<std::string>& texts);
std::optional<Answer> answerFrom(const std::vector<std::string>& texts);

}  // namespace quillbox::control
