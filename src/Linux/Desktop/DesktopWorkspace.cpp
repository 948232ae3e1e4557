// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/DesktopWorkspace.h"

#include "Core/Platform/LogLine.h"
#include "Linux/Desktop/Texts.h"

#include <QProcess>

namespace quillbox::desktop {

namespace {

/// Finds the program that the desktop has for a folder or an address.
constexpr QLatin1String kOpener("xdg-open");

}  // namespace

void DesktopWorkspace::open(const std::string& what) {
    if (!QProcess::startDetached(kOpener, {text(what)})) {
        logLine(log_, LogLevel::Error, "The program xdg-open, which opens ", what,
                " in the desktop's own way, cannot be started.");
        runAlert("Nothing here can open it.", what);
    }
}

void DesktopWorkspace::openFile(const std::string& path) {
    open(path);
}

void DesktopWorkspace::openURL(const std::string& address) {
    open(address);
}

void DesktopWorkspace::runAlert(const std::string& title, const std::string& message) {
    alerts_.show({title, message, {"OK"}}, nullptr, {});
}

void DesktopWorkspace::offerToShow(const std::string& title, const std::string& message,
                                   const std::string& path) {
    alerts_.show({title, message, {"OK", "Show"}}, nullptr, [this, path](int button) {
        if (button == 1) {
            openFile(path);
        }
    });
}

}  // namespace quillbox::desktop
