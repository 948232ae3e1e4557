// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Settings/LoginItem.h"

#include "Core/Platform/Bundle.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/LoginItems.h"

#include <algorithm>

namespace quillbox {

bool isStartupItem(LoginItems& loginItems, const Bundle& bundle) {
    const auto items = loginItems.snapshot();
    return std::any_of(items.begin(), items.end(), [path = bundle.bundlePath()](const auto& item) {
        return item.path == path;
    });
}

void setStartupItem(bool isStartup, LoginItems& loginItems, const Bundle& bundle, Log& log) {
    const std::string path = bundle.bundlePath();
    if (isStartup) {
        if (loginItems.insertLast(path)) {
            log.write(LogLevel::Info, "Successfully set as startup item\n");
        } else {
            log.write(LogLevel::Warning, "Failed to set as startup item\n");
        }
        return;
    }
    const auto items = loginItems.snapshot();
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&path](const auto& item) { return item.path == path; });
    if (found != items.end()) {
        loginItems.remove(*found);
    }
}

}  // namespace quillbox
