// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Wire/Bytes.h"

#include <plist/plist.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox::simulator {

/// A property list that owns its node. Only dictionaries have keys; asking any other node for a key
/// finds nothing, so that whatever a client sends can be asked without looking first.
class PropertyList {
public:
    [[nodiscard]] static PropertyList dictionary();
    [[nodiscard]] static PropertyList array();
    [[nodiscard]] static PropertyList text(const std::string& value);
    [[nodiscard]] static PropertyList number(std::uint64_t value);
    [[nodiscard]] static PropertyList real(double value);
    [[nodiscard]] static PropertyList boolean(bool value);
    [[nodiscard]] static PropertyList data(wire::ByteView value);

    /// Reads an XML or binary property list; nothing when it is neither.
    [[nodiscard]] static std::optional<PropertyList> parse(wire::ByteView bytes);

    PropertyList(const PropertyList& other) : node_{plist_copy(other.node_.get())} {}

    PropertyList& operator=(const PropertyList& other) {
        if (this != &other) {
            node_.reset(plist_copy(other.node_.get()));
        }
        return *this;
    }

    PropertyList(PropertyList&&) noexcept = default;
    PropertyList& operator=(PropertyList&&) noexcept = default;
    ~PropertyList() = default;

    PropertyList& set(const std::string& key, PropertyList value);
    PropertyList& setText(const std::string& key, const std::string& value);
    PropertyList& setNumber(const std::string& key, std::uint64_t value);
    PropertyList& setBoolean(const std::string& key, bool value);
    PropertyList& setData(const std::string& key, wire::ByteView value);
    void remove(const std::string& key);

    /// Appends to an array.
    PropertyList& append(PropertyList value);

    [[nodiscard]] bool isDictionary() const;
    [[nodiscard]] bool has(const std::string& key) const;
    /// A copy of what stands under the key.
    [[nodiscard]] std::optional<PropertyList> value(const std::string& key) const;
    [[nodiscard]] std::optional<std::string> textAt(const std::string& key) const;
    [[nodiscard]] std::optional<std::uint64_t> numberAt(const std::string& key) const;
    [[nodiscard]] std::optional<bool> booleanAt(const std::string& key) const;
    [[nodiscard]] std::optional<wire::Bytes> dataAt(const std::string& key) const;
    /// The texts of an array under the key; other elements are left out.
    [[nodiscard]] std::optional<std::vector<std::string>> textsAt(const std::string& key) const;
    /// The keys of a dictionary.
    [[nodiscard]] std::vector<std::string> keys() const;

    [[nodiscard]] wire::Bytes toXml() const;

private:
    struct Free {
        void operator()(void* node) const { plist_free(node); }
    };

    explicit PropertyList(plist_t node) : node_{node} {}

    [[nodiscard]] plist_t find(const std::string& key, plist_type type) const;

    std::unique_ptr<void, Free> node_;
};

}  // namespace quillbox::simulator
