// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Protocol.h"

#include <string_view>

namespace quillbox::control {

namespace {

constexpr std::string_view kVersion = "quillbox 1";
constexpr std::string_view kJson = "json";
constexpr std::string_view kText = "text";
constexpr std::size_t kFixedTexts = 3;

}  // namespace

std::vector<std::string> toTexts(const Request& request) {
    std::vector<std::string> texts{std::string(kVersion), std::string(request.json ? kJson : kText),
                                   request.verb};
    texts.insert(texts.end(), request.arguments.begin(), request.arguments.end());
    return texts;
}

std::vector<std::string> toTexts(const Answer& answer) {
    return {std::to_string(answer.status), answer.output, answer.error};
}

std::optional<Request> requestFrom(const std::vector<std::string>& texts) {
    if (texts.size() < kFixedTexts || texts[0] != kVersion ||
        (texts[1] != kJson && texts[1] != kText)) {
        return std::nullopt;
    }
    return Request{texts[2], texts[1] == kJson, {texts.begin() + kFixedTexts, texts.end()}};
}

std::optional<Answer> answerFrom(const std::vector<std::string>& texts) {
    if (texts.size() != kMostAnswerTexts || texts[0].size() != 1 || texts[0] < "0" ||
        texts[0] > "3") {
        return std::nullopt;
    }
    return Answer{texts[0].front() - '0', texts[1], texts[2]};
}

}  // namespace quillbox::control
