// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcParameters.h"

namespace quillbox::wire {

AfcParameters& AfcParameters::word(std::uint64_t value) {
    appendLittle(bytes_, value);
    return *this;
}

AfcParameters& AfcParameters::path(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) {
        valid_ = false;
        return *this;
    }
    append(bytes_, asBytes(text));
    bytes_.push_back(std::byte{0});
    return *this;
}

std::optional<std::uint64_t> AfcParameterReader::word() {
    if (rest_.size() < sizeof(std::uint64_t)) {
        return std::nullopt;
    }
    const auto value = loadLittle<std::uint64_t>(rest_);
    rest_ = rest_.subspan(sizeof(std::uint64_t));
    return value;
}

std::optional<std::string> AfcParameterReader::path() {
    const std::string_view text = asText(rest_);
    const std::size_t end = text.find('\0');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    rest_ = rest_.subspan(end + 1);
    return std::string{text.substr(0, end)};
}

}  // namespace quillbox::wire
