// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"

#include <optional>
#include <string>
#include <string_view>

namespace quillbox {

/// The user's preference store: keys to property-list values. Reads on any thread, writes on the
/// main thread. Never fails visibly: a missing bool reads as false, a missing integer as 0, a
/// missing string as none.
class Preferences {
public:
    virtual ~Preferences() = default;

    virtual std::optional<PropertyValue> objectForKey(std::string_view key) const = 0;
    virtual void setObject(std::string_view key, PropertyValue value) = 0;
    virtual void removeObject(std::string_view key) = 0;
    /// Removes every key.
    virtual void removeAllObjects() = 0;
    /// Writes the store to disk now. False, and a log line, when it could not be written; what was
    /// on disk before is then still there.
    virtual bool synchronize() = 0;

    bool boolForKey(std::string_view key) const {
        const auto value = objectForKey(key);
        return value && value->boolValue();
    }

    std::int64_t integerForKey(std::string_view key) const {
        const auto value = objectForKey(key);
        return value ? value->integerValue() : 0;
    }

    std::optional<std::string> stringForKey(std::string_view key) const {
        const auto value = objectForKey(key);
        return value && value->string() ? std::optional(*value->string()) : std::nullopt;
    }

    std::optional<PropertyDictionary> dictionaryForKey(std::string_view key) const {
        const auto value = objectForKey(key);
        return value && value->dictionary() ? std::optional(*value->dictionary()) : std::nullopt;
    }
};

}  // namespace quillbox
