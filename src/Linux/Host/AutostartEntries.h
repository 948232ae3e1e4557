// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/LoginItems.h"

#include <string>
#include <vector>

namespace quillbox::host {

/// Where autostart entries lie, and for which desktop they count.
struct AutostartPlaces {
    std::string userFolder;                  ///< written and read; made when an entry is added
    std::vector<std::string> systemFolders;  ///< read only, the more important first
    std::vector<std::string> desktops;       ///< names of the running desktop

    /// From the XDG variables of the environment.
    static AutostartPlaces fromEnvironment();
};

/// The user's login items as autostart entries (Desktop Application Autostart Specification of
/// freedesktop.org). An item's identifier is its file name, its path the program that the entry
/// starts, links resolved. An entry that is hidden, disabled, meant for another desktop, or whose
/// `TryExec` is missing is no item. A file in the user's folder stands for one of the same name in
/// a system folder. Order: other programs' entries by file name, then ours in the order added.
class AutostartEntries final : public LoginItems {
public:
    static constexpr const char* kApplicationId = "org.quillbox.Quillbox";

    explicit AutostartEntries(AutostartPlaces places, Log& log);

    std::vector<LoginItem> snapshot() override;
    /// The first of our file names whose entry does not count at present is used.
    bool insertLast(const std::string& path) override;
    /// Removes the user's file; a system-wide entry of that name is hidden by one of the user's.
    void remove(const LoginItem& item) override;

private:
    bool hasSystemEntry(const std::string& name) const;
    bool writeEntry(const std::string& name, const std::string& text);

    const AutostartPlaces places_;
    Log& log_;
};

}  // namespace quillbox::host
