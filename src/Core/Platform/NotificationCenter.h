// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Error.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quillbox {

/// Posted when the program is about to end, before anything is taken down.
inline constexpr std::string_view NSApplicationWillTerminateNotification =
    "NSApplicationWillTerminateNotification";

struct Notification {
    std::string name;
    const void* object = nullptr;  ///< who or what it is about, known by identity; may be null
    std::map<std::string, NSError> userInfo;  ///< errors by key, or empty
    std::optional<std::uint32_t> number{};    ///< in place of an object, for what has a number
};

/// The text that "%@" makes of a notification.
inline std::string description(const Notification& notification) {
    return "NSNotification {name = " + notification.name + "}";
}

/// Notices inside the process. Main thread only; delivery is immediate, in the order of
/// observation. Observers may come and go during a delivery: one that is removed meanwhile is not
/// called any more, one that is added is not called for the notice under way.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    virtual ~NotificationCenter() = default;

    /// Observes a name from any sender. The same observer and name is delivered once, however often
    /// it was added.
    virtual void addObserver(const void* observer, std::string_view name, Handler handler) = 0;
    /// Ends all observations of an observer; harmless when there is none.
    virtual void removeObserver(const void* observer) = 0;
    virtual void post(const Notification& notification) = 0;
};

}  // namespace quillbox
