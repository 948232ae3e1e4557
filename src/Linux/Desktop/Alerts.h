// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/Window.h"
#include "Linux/Desktop/Choices.h"

#include <QMessageBox>
#include <QPointer>

#include <deque>

class QWidget;

namespace quillbox::desktop {

/// Alerts, one after the other. The program goes on while one is open. Main thread.
class Alerts {
public:
    /// Both must outlive this.
    Alerts(Choices& choices, Log& log) : choices_(choices), log_(log) {}

    ~Alerts();
    Alerts(const Alerts&) = delete;
    Alerts& operator=(const Alerts&) = delete;

    /// Shows an alert when those before it have ended: as a sheet of a window, or by itself where
    /// that is null or closed. `didEnd` may be empty.
    void show(const Alert& alert, QWidget* sheetOf, Window::AlertEnd didEnd);

private:
    struct Waiting {
        Alert alert;
        QPointer<QWidget> sheetOf;
        bool isSheet = false;
        Window::AlertEnd didEnd;
    };

    void showNext();
    void ended(int button);

    Choices& choices_;
    Log& log_;
    std::deque<Waiting> waiting_;  ///< the first is the one on the screen
    QPointer<QMessageBox> box_;    ///< goes with the window that it is a sheet of
};

}  // namespace quillbox::desktop
