// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace quillbox {

/// Domain of errors whose code is an `errno` number of the host.
inline constexpr std::string_view NSPOSIXErrorDomain = "NSPOSIXErrorDomain";

/// An error as operations hand it out: where the code comes from, the code, and texts about it.
/// A plain value; freely copied between threads.
struct NSError {
    std::string domain;
    std::int32_t code = 0;
    std::map<std::string, std::string> userInfo;  ///< empty for errors that carry nothing more
    std::string localizedDescription;             ///< one sentence for a person, or empty

    static NSError errorWithDomain(std::string_view domain, std::int32_t code,
                                   std::map<std::string, std::string> userInfo = {}) {
        return NSError{std::string(domain), code, std::move(userInfo), {}};
    }

    friend bool operator==(const NSError&, const NSError&) = default;
};

/// The text that "%@" makes of an error.
inline std::string description(const NSError& error) {
    return "Error Domain=" + error.domain + " Code=" + std::to_string(error.code) +
           (error.localizedDescription.empty() ? "" : " \"" + error.localizedDescription + "\"");
}

}  // namespace quillbox
