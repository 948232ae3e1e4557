// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/Workspace.h"

namespace quillbox::host {

/// The desktop where there is none: what would be shown is told in the log.
class HeadlessWorkspace final : public Workspace {
public:
    explicit HeadlessWorkspace(Log& log) : log_(log) {}

    void openFile(const std::string& path) override {
        log_.write(LogLevel::Info, "No file manager is available to show " + path + ".");
    }

    void openURL(const std::string& address) override {
        log_.write(LogLevel::Info, "No browser is available to show " + address + ".");
    }

    void runAlert(const std::string& title, const std::string& message) override {
        log_.write(LogLevel::Warning, title.empty() ? message : title + ": " + message);
    }

    void offerToShow(const std::string& title, const std::string& message,
                     const std::string& /*path*/) override {
        runAlert(title, message);
    }

private:
    Log& log_;
};

}  // namespace quillbox::host
