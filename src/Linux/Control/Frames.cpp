// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Frames.h"

#include <cstdint>
#include <utility>

namespace quillbox::control {

namespace {

constexpr std::size_t kNumberSize = 4;

void appendNumber(std::string& bytes, std::size_t number) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>((number >> shift) & 0xFFU);
    }
}

/// The first 4 bytes, which must be there, as a number.
std::size_t firstNumber(std::string_view bytes) {
    std::size_t number = 0;
    for (const char each : bytes.substr(0, kNumberSize)) {
        number = (number << 8U) | static_cast<unsigned char>(each);
    }
    return number;
}

}  // namespace

std::string encodeFrame(const std::vector<std::string>& texts) {
    std::string body;
    for (const auto& each : texts) {
        appendNumber(body, each.size());
        body += each;
    }
    std::string frame;
    appendNumber(frame, body.size());
    return frame + body;
}

bool FrameReader::add(std::string_view bytes) {
    if (texts_ && !bytes.empty()) {
        return false;
    }
    // Never more than one byte beyond what a message may hold is kept.
    received_ += bytes.substr(0, kNumberSize + longest_ + 1 - received_.size());
    if (received_.size() < kNumberSize) {
        return true;
    }
    const std::size_t length = firstNumber(received_);
    if (length > longest_ || received_.size() > kNumberSize + length) {
        return false;
    }
    return received_.size() < kNumberSize + length ||
           decode(std::string_view(received_).substr(kNumberSize));
}

bool FrameReader::decode(std::string_view body) {
    std::vector<std::string> texts;
    while (!body.empty()) {
        if (body.size() < kNumberSize || texts.size() == most_) {
            return false;
        }
        const std::size_t length = firstNumber(body);
        body.remove_prefix(kNumberSize);
        if (length > body.size()) {
            return false;
        }
        texts.emplace_back(body.substr(0, length));
        body.remove_prefix(length);
    }
    texts_ = std::move(texts);
    return true;
}

}  // namespace quillbox::control
