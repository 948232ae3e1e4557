// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillbox {

/// Key of the program's version ("2.1") in its information dictionary.
inline constexpr std::string_view kCFBundleVersionKey = "CFBundleVersion";
/// Key of the address that Help opens.
inline constexpr std::string_view kHelpAddressInfoKey = "HelpAddress";

/// The installed program and its resources, and the system it runs on. Any thread.
class Bundle {
public:
    virtual ~Bundle() = default;

    /// The program's own absolute path, by which login items know it.
    virtual std::string bundlePath() const = 0;
    /// The file of a resource, for example ("QuillboxIcon", "icns"); none when it is not installed.
    virtual std::optional<std::string> pathForResource(const std::string& name,
                                                       const std::string& type) const = 0;
    /// A text that the program was built with, by its key; none for a key that is not there.
    virtual std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const = 0;
    /// The system's own name and version for a person (PRETTY_NAME of os-release).
    virtual std::string operatingSystemVersionString() const = 0;
};

/// Text in the user's language.
class Collation {
public:
    virtual ~Collation() = default;

    /// Locale-aware comparison that takes no notice of letter case: below, equal to or above 0.
    virtual int localizedCaseInsensitiveCompare(const std::string& a,
                                                const std::string& b) const = 0;
};

}  // namespace quillbox
