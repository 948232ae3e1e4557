// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/Preferences.h"

#include <shared_mutex>
#include <string>

namespace quillbox::host {

/// The preference store: one XML property list, read once at the start and written whole at
/// `synchronize` (a new file, synced and renamed), where anything changed. A damaged file is kept
/// aside under another name and the store begins empty; one that cannot be read is left alone, and
/// then nothing is written either.
class PreferenceFile final : public Preferences {
public:
    /// Reads `path`; its folder is made at the first write.
    PreferenceFile(std::string path, Log& log);
    /// Writes what is not written yet.
    ~PreferenceFile() override;
    PreferenceFile(const PreferenceFile&) = delete;
    PreferenceFile& operator=(const PreferenceFile&) = delete;

    std::optional<PropertyValue> objectForKey(std::string_view key) const override;
    void setObject(std::string_view key, PropertyValue value) override;
    void removeObject(std::string_view key) override;
    void removeAllObjects() override;
    bool synchronize() override;

    const std::string& path() const { return path_; }

private:
    void load();
    void keepAside();
    bool write(const std::string& text);

    const std::string path_;
    Log& log_;
    mutable std::shared_mutex mutex_;  ///< guards the values
    PropertyDictionary values_;
    bool changed_ = false;     ///< main thread
    bool unreadable_ = false;  ///< main thread
};

/// `$XDG_CONFIG_HOME/quillbox/preferences.plist`, by default below `~/.config`.
std::string defaultPreferencePath();

}  // namespace quillbox::host
