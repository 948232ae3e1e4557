// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace quillbox {

/// Notices about devices, for other windows to observe. Each value is its own name.
inline constexpr std::string_view iPhoneDisconnectedNotification = "iPhoneDisconnectedNotification";
/// The object is the `iPodDevice` that was removed.
inline constexpr std::string_view attachedDeviceRemovedFromCollection =
    "attachedDeviceRemovedFromCollection";
/// Part of the vocabulary, posted by nobody.
inline constexpr std::string_view iPhoneConnectedNotification = "iPhoneConnectedNotification";
inline constexpr std::string_view deviceFinishedLaodingAndParsing =
    "deviceFinishedLaodingAndParsing";

}  // namespace quillbox
