// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Desktop.h"

#include "Linux/Desktop/Alerts.h"
#include "Linux/Desktop/ApplicationObject.h"
#include "Linux/Desktop/Choices.h"
#include "Linux/Desktop/DesktopApplication.h"
#include "Linux/Desktop/DesktopWorkspace.h"
#include "Linux/Desktop/EventPump.h"
#include "Linux/Desktop/Icons.h"
#include "Linux/Desktop/InterfaceLibrary.h"
#include "Linux/Desktop/Notices.h"
#include "Linux/Desktop/Tray.h"

namespace quillbox::desktop {

class Desktop::Parts {
public:
    Parts(RunLoop& loop, Log& log, const Bundle& bundle, const std::string& applicationId,
          const std::string& volumesFolder, std::function<void()> quit)
        : object(applicationId, bundle),
          choices(loop, std::move(quit)),
          icons(bundle),
          alerts(choices, log),
          application(choices),
          workspace(alerts, log),
          tray(choices, icons, log),
          notices(tray),
          interfaceFiles(choices, alerts, icons, workspace, volumesFolder) {}

    ApplicationObject object;
    EventPump pump;
    Choices choices;
    Icons icons;
    Alerts alerts;
    DesktopApplication application;
    DesktopWorkspace workspace;
    Tray tray;
    Notices notices;
    InterfaceLibrary interfaceFiles;
};

Desktop::Desktop(RunLoop& loop, Log& log, const Bundle& bundle, const std::string& applicationId,
                 const std::string& volumesFolder, std::function<void()> quit)
    : parts_(std::make_unique<Parts>(loop, log, bundle, applicationId, volumesFolder,
                                     std::move(quit))) {}

Desktop::~Desktop() = default;

StatusBar& Desktop::statusBar() {
    return parts_->tray;
}

InterfaceFiles& Desktop::interfaceFiles() {
    return parts_->interfaceFiles;
}

Application& Desktop::application() {
    return parts_->application;
}

Workspace& Desktop::workspace() {
    return parts_->workspace;
}

void Desktop::serve(const std::vector<int>& descriptors,
                    std::chrono::steady_clock::time_point deadline) {
    if (!parts_->pump.serve(descriptors, deadline)) {
        parts_->choices.quit();
    }
}

void Desktop::showDeviceState(const void* device, const std::string& name, const std::string& state,
                              bool needsUser) {
    parts_->notices.setDevice(device, name, state, needsUser);
}

void Desktop::showWait(const std::string& what) {
    parts_->notices.setWait(what);
}

bool Desktop::showMenuWindow() {
    return parts_->tray.showMenuWindow();
}

}  // namespace quillbox::desktop
