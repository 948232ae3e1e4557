// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/StatusBar.h"
#include "Linux/Desktop/Choices.h"
#include "Linux/Desktop/Icons.h"

#include <memory>
#include <vector>

namespace quillbox::desktop {

class TrayItem;

/// The desktop's tray, whichever kind it has at this moment: a panel on the session bus that shows
/// status notifier items, else a tray of the X server, else a small window with the same menu.
/// Main thread.
class Tray final : public StatusBar {
public:
    /// All must outlive this.
    Tray(Choices& choices, Icons& icons, Log& log);
    ~Tray() override;

    std::shared_ptr<StatusItem> makeStatusItem(const StatusItemSettings& settings) override;

    /// Lines below the program's name in the tool tip; `needsUser` puts a dot on the icon.
    void setToolTip(std::vector<std::string> lines, bool needsUser);

    /// Shows the small window where there is no tray; whether it is there.
    bool showMenuWindow();

private:
    Choices& choices_;
    Icons& icons_;
    Log& log_;
    std::vector<std::string> lines_;
    bool needsUser_ = false;
    std::weak_ptr<TrayItem> item_;
};

}  // namespace quillbox::desktop
