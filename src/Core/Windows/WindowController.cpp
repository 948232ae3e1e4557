// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/WindowController.h"

#include "Core/Volumes/CommonData.h"

namespace quillbox {

WindowController::WindowController(std::string_view nibName)
    : file_(platform().interfaceFiles.loadNibNamed(nibName)) {}

const Platform& WindowController::platform() {
    return CommonData::sharedInstance().platform();
}

void WindowController::present() const {
    auto& application = platform().application;
    application.arrangeInFront();
    window().showWindow(nullptr);
    application.activate(true);
}

}  // namespace quillbox
