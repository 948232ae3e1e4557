// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/LocaleCollation.h"

#include <strings.h>
#include <unicode/ucol.h>

#include <cstdlib>

namespace quillbox::host {

namespace {

std::string environmentLocale() {
    for (const char* name : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        if (const char* value = std::getenv(name); value != nullptr && value[0] != '\0') {
            return value;
        }
    }
    return {};
}

/// "de_DE.UTF-8@euro" as "de_DE"; the root order for the languages that name none.
std::string collationName(const std::string& locale) {
    std::string name = locale.substr(0, locale.find_first_of(".@"));
    return name == "C" || name == "POSIX" ? std::string() : name;
}

}  // namespace

void LocaleCollation::Close::operator()(UCollator* collator) const {
    ucol_close(collator);
}

LocaleCollation::LocaleCollation() : LocaleCollation(environmentLocale()) {}

LocaleCollation::LocaleCollation(const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    collator_.reset(ucol_open(collationName(locale).c_str(), &status));
    if (U_FAILURE(status)) {
        collator_.reset();
        return;
    }
    ucol_setStrength(collator_.get(), UCOL_SECONDARY);
}

LocaleCollation::~LocaleCollation() = default;

int LocaleCollation::localizedCaseInsensitiveCompare(const std::string& a,
                                                     const std::string& b) const {
    if (collator_) {
        UErrorCode status = U_ZERO_ERROR;
        const auto order =
            ucol_strcollUTF8(collator_.get(), a.data(), static_cast<std::int32_t>(a.size()),
                             b.data(), static_cast<std::int32_t>(b.size()), &status);
        if (U_SUCCESS(status)) {
            return order;
        }
    }
    return ::strcasecmp(a.c_str(), b.c_str());
}

}  // namespace quillbox::host
