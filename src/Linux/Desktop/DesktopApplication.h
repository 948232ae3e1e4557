// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Application.h"
#include "Linux/Desktop/Choices.h"

#include <QApplication>
#include <QWidget>

namespace quillbox::desktop {

/// The running program as its windows and its menu see it. Main thread.
class DesktopApplication final : public Application {
public:
    explicit DesktopApplication(const Choices& choices) : choices_(choices) {}

    void arrangeInFront() override {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && window->windowType() != Qt::Popup) {
                window->raise();
            }
        }
    }

    void activate(bool ignoringOtherApps) override {
        // The window that was shown last has asked for the keyboard already.
        if (QWidget* window = QApplication::activeWindow(); ignoringOtherApps && window) {
            window->activateWindow();
        }
    }

    void terminate() override { choices_.quit(); }

private:
    const Choices& choices_;
};

}  // namespace quillbox::desktop
