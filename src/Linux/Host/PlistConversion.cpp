// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/PlistConversion.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <type_traits>

namespace quillbox::host {

namespace {

/// Property-list dates count from 2001-01-01 UTC.
constexpr std::int64_t kReferenceDate = 978'307'200;
constexpr std::int64_t kNanosecondsASecond = 1'000'000'000;

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};

using Plist = std::unique_ptr<std::remove_pointer_t<plist_t>, PlistFree>;

plist_t nodeFrom(const PropertyValue& value);

plist_t nodeFrom(const PropertyDictionary& dictionary) {
    plist_t node = plist_new_dict();
    for (const auto& [key, value] : dictionary) {
        plist_dict_set_item(node, key.c_str(), nodeFrom(value));
    }
    return node;
}

plist_t integerNode(std::int64_t value) {
#ifdef QUILLBOX_PLIST_HAS_SIGNED
    return plist_new_int(value);
#else
    return plist_new_uint(static_cast<std::uint64_t>(value));
#endif
}

plist_t dateNode(PropertyDate date) {
    const std::int64_t nanoseconds = date.time_since_epoch().count();
    std::int64_t seconds = nanoseconds / kNanosecondsASecond;
    std::int64_t rest = nanoseconds % kNanosecondsASecond;
    if (rest < 0) {
        --seconds;
        rest += kNanosecondsASecond;
    }
    return plist_new_date(static_cast<std::int32_t>(seconds - kReferenceDate),
                          static_cast<std::int32_t>(rest / 1000));
}

plist_t nodeFrom(const PropertyValue& value) {
    return std::visit(
        [](const auto& content) -> plist_t {
            using T = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<T, bool>) {
                return plist_new_bool(content ? 1 : 0);
            } else if constexpr (std::is_integral_v<T>) {
                return integerNode(static_cast<std::int64_t>(content));
            } else if constexpr (std::is_same_v<T, double>) {
                return plist_new_real(content);
            } else if constexpr (std::is_same_v<T, std::string>) {
                return plist_new_string(content.c_str());
            } else if constexpr (std::is_same_v<T, PropertyData>) {
                return plist_new_data(reinterpret_cast<const char*>(content.data()),
                                      content.size());
            } else if constexpr (std::is_same_v<T, PropertyDate>) {
                return dateNode(content);
            } else if constexpr (std::is_same_v<T, PropertyArray>) {
                plist_t node = plist_new_array();
                for (const auto& each : content) {
                    plist_array_append_item(node, nodeFrom(each));
                }
                return node;
            } else {
                return nodeFrom(content);
            }
        },
        value.variant());
}

std::optional<PropertyValue> valueFrom(plist_t node, int depth);

PropertyDictionary dictionaryFrom(plist_t node, int depth) {
    PropertyDictionary dictionary;
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(node, &rawIterator);
    const std::unique_ptr<void, decltype(&std::free)> iterator(rawIterator, &std::free);
    for (;;) {
        char* rawKey = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator.get(), &rawKey, &item);
        const std::unique_ptr<char, decltype(&std::free)> key(rawKey, &std::free);
        if (!key) {
            return dictionary;
        }
        if (auto value = valueFrom(item, depth + 1)) {
            dictionary.insert_or_assign(key.get(), std::move(*value));
        }
    }
}

std::string stringFrom(plist_t node) {
    char* text = nullptr;
    plist_get_string_val(node, &text);
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    return text == nullptr ? std::string() : std::string(text);
}

PropertyData dataFrom(plist_t node) {
    char* bytes = nullptr;
    std::uint64_t size = 0;
    plist_get_data_val(node, &bytes, &size);
    const std::unique_ptr<char, decltype(&std::free)> owner(bytes, &std::free);
    return bytes == nullptr ? PropertyData() : PropertyData(bytes, bytes + size);
}

PropertyDate dateFrom(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return PropertyDate(std::chrono::seconds(seconds + kReferenceDate) +
                        std::chrono::microseconds(microseconds));
}

std::optional<PropertyValue> valueFrom(plist_t node, int depth) {
    constexpr int kDeepest = 64;
    if (depth > kDeepest) {
        return std::nullopt;
    }
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t truth = 0;
        plist_get_bool_val(node, &truth);
        return PropertyValue(truth != 0);
    }
    case PLIST_UINT: {
        std::uint64_t bits = 0;
        plist_get_uint_val(node, &bits);
        return PropertyValue(static_cast<std::int64_t>(bits));
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        return PropertyValue(number);
    }
    case PLIST_STRING:
        return PropertyValue(stringFrom(node));
    case PLIST_DATA:
        return PropertyValue(dataFrom(node));
    case PLIST_DATE:
        return PropertyValue(dateFrom(node));
    case PLIST_DICT:
        return PropertyValue(dictionaryFrom(node, depth));
    case PLIST_ARRAY: {
        PropertyArray array;
        for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i) {
            if (auto value = valueFrom(plist_array_get_item(node, i), depth + 1)) {
                array.push_back(std::move(*value));
            }
        }
        return PropertyValue(std::move(array));
    }
    default:
        return std::nullopt;
    }
}

}  // namespace

std::string plistText(const PropertyDictionary& dictionary) {
    const Plist root(nodeFrom(dictionary));
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root.get(), &text, &length);
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    return text == nullptr ? std::string() : std::string(text, length);
}

std::optional<PropertyDictionary> dictionaryFromPlistText(const std::string& text) {
    // The reader of the library is lenient: a file that lost its end would come back short.
    if (text.find("</plist>") == std::string::npos) {
        return std::nullopt;
    }
    plist_t node = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &node);
    const Plist root(node);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        return std::nullopt;
    }
    return dictionaryFrom(root.get(), 0);
}

}  // namespace quillbox::host
