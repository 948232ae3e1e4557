// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"

#include <memory>
#include <string>

namespace quillbox {

/// The length of a status item that is as long as what it shows.
inline constexpr double kVariableStatusItemLength = -1;

/// What a status item begins with.
struct StatusItemSettings {
    double length = kVariableStatusItemLength;
    std::string title;
    Image image;
    bool highlightMode = false;  ///< whether it shows that its menu is open
    bool isEnabled = false;
    std::shared_ptr<Menu> menu;
};

/// The desktop's tray. Main thread only.
class StatusBar {
public:
    virtual ~StatusBar() = default;

    /// Makes an item that is shown for as long as it lives, made anew whenever a tray appears. Null
    /// without a display.
    virtual std::shared_ptr<StatusItem> makeStatusItem(const StatusItemSettings& settings) = 0;
};

}  // namespace quillbox
