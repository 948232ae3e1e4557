// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcLists.h"

namespace quillbox::wire {

Decoded<std::vector<std::string>> splitNames(ByteView data, std::size_t maxEntries) {
    std::vector<std::string> names;
    std::string_view rest = asText(data);
    while (!rest.empty()) {
        const std::size_t end = rest.find('\0');
        if (end == std::string_view::npos) {
            return WireError::NotTerminated;
        }
        if (names.size() == maxEntries) {
            return WireError::TooManyEntries;
        }
        names.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
    return names;
}

Decoded<std::vector<KeyValue>> splitKeyValues(ByteView data, std::size_t maxPairs) {
    std::vector<KeyValue> pairs;
    std::string_view rest = asText(data);
    while (!rest.empty()) {
        if (pairs.size() == maxPairs) {
            return WireError::TooManyEntries;
        }
        const std::size_t keyEnd = rest.find('\0');
        if (keyEnd == std::string_view::npos) {
            return WireError::NotTerminated;
        }
        const std::size_t valueEnd = rest.find('\0', keyEnd + 1);
        if (valueEnd == std::string_view::npos) {
            return keyEnd + 1 == rest.size() ? WireError::OddCount : WireError::NotTerminated;
        }
        pairs.emplace_back(rest.substr(0, keyEnd), rest.substr(keyEnd + 1, valueEnd - keyEnd - 1));
        rest.remove_prefix(valueEnd + 1);
    }
    return pairs;
}

Bytes joinNames(std::span<const std::string> names) {
    Bytes data;
    for (const std::string& name : names) {
        append(data, asBytes(name));
        data.push_back(std::byte{0});
    }
    return data;
}

Bytes joinKeyValues(std::span<const KeyValue> pairs) {
    Bytes data;
    for (const auto& [key, value] : pairs) {
        append(data, asBytes(key));
        data.push_back(std::byte{0});
        append(data, asBytes(value));
        data.push_back(std::byte{0});
    }
    return data;
}

bool isUsableEntryName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

}  // namespace quillbox::wire
