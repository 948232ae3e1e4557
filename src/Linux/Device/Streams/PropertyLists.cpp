// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Streams/PropertyLists.h"

#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>

namespace quillbox::device {

namespace {

struct FreePlist {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};

struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
};

using PlistHandle = std::unique_ptr<void, FreePlist>;
using TextHandle = std::unique_ptr<char, FreeMemory>;

/// Seconds from 1970 to 2001, where dates of a property list begin.
constexpr std::int64_t kEpochOfDates = 978'307'200;

std::optional<PropertyValue> toValue(plist_t node);

PropertyValue toDate(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return PropertyDate{std::chrono::seconds{kEpochOfDates + seconds} +
                        std::chrono::microseconds{microseconds}};
}

PropertyValue toArray(plist_t node) {
    PropertyArray array;
    const std::uint32_t size = plist_array_get_size(node);
    array.reserve(size);
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    const TextHandle owner{static_cast<char*>(iterator)};
    for (std::uint32_t i = 0; i < size; ++i) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator, &item);
        if (auto value = toValue(item)) {
            array.push_back(std::move(*value));
        }
    }
    return array;
}

PropertyValue toDictionary(plist_t node) {
    PropertyDictionary dictionary;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const TextHandle owner{static_cast<char*>(iterator)};
    const std::uint32_t size = plist_dict_get_size(node);
    for (std::uint32_t i = 0; i < size; ++i) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        const TextHandle keyOwner{key};
        if (key == nullptr) {
            break;
        }
        if (auto value = toValue(item)) {
            dictionary.insert_or_assign(key, std::move(*value));
        }
    }
    return dictionary;
}

std::optional<PropertyValue> toValue(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return PropertyValue{value != 0};
    }
    case PLIST_UINT: {
        // The library keeps negative numbers as their unsigned bits.
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return PropertyValue{static_cast<std::int64_t>(value)};
    }
    case PLIST_UID: {
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return PropertyValue{static_cast<std::int64_t>(value)};
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return PropertyValue{value};
    }
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return PropertyValue{text == nullptr ? std::string{} : std::string(text, length)};
    }
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const char* data = plist_get_data_ptr(node, &length);
        return PropertyValue{data == nullptr ? PropertyData{} : PropertyData(data, data + length)};
    }
    case PLIST_DATE:
        return toDate(node);
    case PLIST_ARRAY:
        return toArray(node);
    case PLIST_DICT:
        return toDictionary(node);
    case PLIST_KEY:
    case PLIST_NONE:
        break;
    }
    return std::nullopt;
}

plist_t toNode(const PropertyValue& value);

/// One overload a stored type: makes the library's node, which the caller owns.
struct NodeMaker {
    plist_t operator()(bool value) const { return plist_new_bool(value ? 1 : 0); }

    plist_t operator()(std::int64_t value) const {
        return plist_new_uint(static_cast<std::uint64_t>(value));
    }

    plist_t operator()(std::uint64_t value) const { return plist_new_uint(value); }

    plist_t operator()(double value) const { return plist_new_real(value); }

    plist_t operator()(const std::string& value) const { return plist_new_string(value.c_str()); }

    plist_t operator()(const PropertyData& value) const {
        return plist_new_data(reinterpret_cast<const char*>(value.data()), value.size());
    }

    plist_t operator()(const PropertyDate& value) const {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(value.time_since_epoch());
        const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(
            value.time_since_epoch() - seconds);
        return plist_new_date(static_cast<std::int32_t>(seconds.count() - kEpochOfDates),
                              static_cast<std::int32_t>(rest.count()));
    }

    plist_t operator()(const PropertyArray& value) const {
        plist_t node = plist_new_array();
        for (const PropertyValue& item : value) {
            plist_array_append_item(node, toNode(item));
        }
        return node;
    }

    plist_t operator()(const PropertyDictionary& value) const {
        plist_t node = plist_new_dict();
        for (const auto& [key, item] : value) {
            plist_dict_set_item(node, key.c_str(), toNode(item));
        }
        return node;
    }
};

plist_t toNode(const PropertyValue& value) {
    return std::visit(NodeMaker{}, value.variant());
}

}  // namespace

std::optional<PropertyValue> parsePropertyList(wire::ByteView bytes) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max() ||
        !isNestingBounded(bytes)) {
        return std::nullopt;
    }
    plist_t node = nullptr;
    const std::string_view text = wire::asText(bytes);
    const auto read = text.starts_with("bplist") ? plist_from_bin : plist_from_xml;
    read(text.data(), static_cast<std::uint32_t>(text.size()), &node);
    const PlistHandle owner{node};
    return node == nullptr ? std::nullopt : toValue(node);
}

std::optional<PropertyDictionary> parseDictionary(wire::ByteView bytes) {
    const auto value = parsePropertyList(bytes);
    if (!value || value->dictionary() == nullptr) {
        return std::nullopt;
    }
    return *value->dictionary();
}

wire::Bytes writePropertyList(const PropertyDictionary& dictionary) {
    const PlistHandle node{NodeMaker{}(dictionary)};
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(node.get(), &text, &length);
    const TextHandle owner{text};
    const auto view = wire::asBytes({text, length});
    return {view.begin(), view.end()};
}

std::optional<std::string> textOf(const PropertyDictionary& dictionary, std::string_view key) {
    const PropertyValue* value = find(dictionary, key);
    if (value == nullptr || value->string() == nullptr) {
        return std::nullopt;
    }
    return *value->string();
}

}  // namespace quillbox::device
