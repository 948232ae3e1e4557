// SPDX-License-Identifier: GPL-3.0-or-later
#include "PropertyList.h"

#include <cstdlib>
#include <limits>

namespace quillbox::simulator {
namespace {

std::string takeText(char* text) {
    std::string result = text == nullptr ? "" : text;
    std::free(text);
    return result;
}

const char* characters(wire::ByteView bytes) {
    return reinterpret_cast<const char*>(bytes.data());
}

}  // namespace

PropertyList PropertyList::dictionary() {
    return PropertyList{plist_new_dict()};
}

PropertyList PropertyList::array() {
    return PropertyList{plist_new_array()};
}

PropertyList PropertyList::text(const std::string& value) {
    return PropertyList{plist_new_string(value.c_str())};
}

PropertyList PropertyList::number(std::uint64_t value) {
    return PropertyList{plist_new_uint(value)};
}

PropertyList PropertyList::real(double value) {
    return PropertyList{plist_new_real(value)};
}

PropertyList PropertyList::boolean(bool value) {
    return PropertyList{plist_new_bool(value ? 1 : 0)};
}

PropertyList PropertyList::data(wire::ByteView value) {
    return PropertyList{plist_new_data(characters(value), value.size())};
}

std::optional<PropertyList> PropertyList::parse(wire::ByteView bytes) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    plist_t node = nullptr;
    plist_from_memory(characters(bytes), static_cast<std::uint32_t>(bytes.size()), &node);
    if (node == nullptr) {
        return std::nullopt;
    }
    return PropertyList{node};
}

PropertyList& PropertyList::set(const std::string& key, PropertyList value) {
    plist_dict_set_item(node_.get(), key.c_str(), value.node_.release());
    return *this;
}

PropertyList& PropertyList::setText(const std::string& key, const std::string& value) {
    return set(key, text(value));
}

PropertyList& PropertyList::setNumber(const std::string& key, std::uint64_t value) {
    return set(key, number(value));
}

PropertyList& PropertyList::setBoolean(const std::string& key, bool value) {
    return set(key, boolean(value));
}

PropertyList& PropertyList::setData(const std::string& key, wire::ByteView value) {
    return set(key, data(value));
}

void PropertyList::remove(const std::string& key) {
    if (has(key)) {
        plist_dict_remove_item(node_.get(), key.c_str());
    }
}

PropertyList& PropertyList::append(PropertyList value) {
    plist_array_append_item(node_.get(), value.node_.release());
    return *this;
}

bool PropertyList::isDictionary() const {
    return plist_get_node_type(node_.get()) == PLIST_DICT;
}

plist_t PropertyList::find(const std::string& key, plist_type type) const {
    if (!isDictionary()) {
        return nullptr;
    }
    plist_t item = plist_dict_get_item(node_.get(), key.c_str());
    return item != nullptr && plist_get_node_type(item) == type ? item : nullptr;
}

bool PropertyList::has(const std::string& key) const {
    return isDictionary() && plist_dict_get_item(node_.get(), key.c_str()) != nullptr;
}

std::optional<PropertyList> PropertyList::value(const std::string& key) const {
    if (!has(key)) {
        return std::nullopt;
    }
    return PropertyList{plist_copy(plist_dict_get_item(node_.get(), key.c_str()))};
}

std::optional<std::string> PropertyList::textAt(const std::string& key) const {
    plist_t item = find(key, PLIST_STRING);
    if (item == nullptr) {
        return std::nullopt;
    }
    char* text = nullptr;
    plist_get_string_val(item, &text);
    return takeText(text);
}

std::optional<std::uint64_t> PropertyList::numberAt(const std::string& key) const {
    plist_t item = find(key, PLIST_UINT);
    if (item == nullptr) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    plist_get_uint_val(item, &number);
    return number;
}

std::optional<bool> PropertyList::booleanAt(const std::string& key) const {
    plist_t item = find(key, PLIST_BOOLEAN);
    if (item == nullptr) {
        return std::nullopt;
    }
    std::uint8_t truth = 0;
    plist_get_bool_val(item, &truth);
    return truth != 0;
}

std::optional<wire::Bytes> PropertyList::dataAt(const std::string& key) const {
    plist_t item = find(key, PLIST_DATA);
    if (item == nullptr) {
        return std::nullopt;
    }
    std::uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(item, &length);
    const wire::ByteView view = wire::asBytes({bytes, static_cast<std::size_t>(length)});
    return wire::Bytes{view.begin(), view.end()};
}

std::optional<std::vector<std::string>> PropertyList::textsAt(const std::string& key) const {
    plist_t item = find(key, PLIST_ARRAY);
    if (item == nullptr) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    const std::uint32_t count = plist_array_get_size(item);
    for (std::uint32_t i = 0; i < count; ++i) {
        plist_t element = plist_array_get_item(item, i);
        if (plist_get_node_type(element) == PLIST_STRING) {
            char* text = nullptr;
            plist_get_string_val(element, &text);
            texts.push_back(takeText(text));
        }
    }
    return texts;
}

std::vector<std::string> PropertyList::keys() const {
    std::vector<std::string> names;
    if (!isDictionary()) {
        return names;
    }
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node_.get(), &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node_.get(), iterator, &key, &item);
        if (item == nullptr) {
            break;
        }
        names.push_back(takeText(key));
    }
    std::free(iterator);
    return names;
}

wire::Bytes PropertyList::toXml() const {
    char* xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(node_.get(), &xml, &length);
    const wire::ByteView view = wire::asBytes({xml, length});
    wire::Bytes bytes{view.begin(), view.end()};
    plist_to_xml_free(xml);
    return bytes;
}

}  // namespace quillbox::simulator
