// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"

#include <memory>
#include <string>

struct UCollator;

namespace quillbox::host {

/// The user's order of words, by the Unicode collation rules of their language; letter case makes
/// no difference, accents do. Any thread.
class LocaleCollation final : public Collation {
public:
    /// The language of `LC_ALL`, `LC_COLLATE` or `LANG`, the first that is set.
    LocaleCollation();
    /// A locale such as "de_DE.UTF-8"; the general order for an empty one, "C" and "POSIX".
    explicit LocaleCollation(const std::string& locale);
    ~LocaleCollation() override;
    LocaleCollation(const LocaleCollation&) = delete;
    LocaleCollation& operator=(const LocaleCollation&) = delete;

    int localizedCaseInsensitiveCompare(const std::string& a, const std::string& b) const override;

private:
    struct Close {
        void operator()(UCollator* collator) const;
    };

    std::unique_ptr<UCollator, Close> collator_;  ///< null when the system has no collation data
};

}  // namespace quillbox::host
