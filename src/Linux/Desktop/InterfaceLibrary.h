// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/InterfaceFile.h"
#include "Core/Platform/Workspace.h"
#include "Linux/Desktop/Alerts.h"
#include "Linux/Desktop/Choices.h"
#include "Linux/Desktop/Icons.h"

#include <string>

namespace quillbox::desktop {

/// The interface files that Qt Designer made, compiled into the program. Main thread.
class InterfaceLibrary final : public InterfaceFiles {
public:
    /// All must outlive this. `volumesFolder` is what the preferences show.
    InterfaceLibrary(Choices& choices, Alerts& alerts, Icons& icons, Workspace& workspace,
                     std::string volumesFolder)
        : choices_(choices),
          alerts_(alerts),
          icons_(icons),
          workspace_(workspace),
          volumesFolder_(std::move(volumesFolder)) {}

    std::unique_ptr<InterfaceFile> loadNibNamed(std::string_view name) override;

private:
    Choices& choices_;
    Alerts& alerts_;
    Icons& icons_;
    Workspace& workspace_;
    const std::string volumesFolder_;
};

}  // namespace quillbox::desktop
