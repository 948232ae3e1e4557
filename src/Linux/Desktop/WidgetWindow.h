// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Window.h"
#include "Linux/Desktop/Alerts.h"
#include "Linux/Desktop/Choices.h"

#include <QObject>

#include <memory>

class QWidget;

namespace quillbox::desktop {

/// One window of an interface file. What the user does to close it comes to its handler as every
/// other choice does, as a task of the main loop. Main thread.
class WidgetWindow final : public QObject, public Window {
public:
    /// Whom the user's closing goes to; empty: the window closes.
    using CloseRequest = std::function<void()>;

    WidgetWindow(std::unique_ptr<QWidget> widget, Choices& choices, Alerts& alerts);
    ~WidgetWindow() override;

    QWidget& widget() { return *widget_; }

    void setCloseRequest(CloseRequest request) { closeRequest_ = std::move(request); }

    void showWindow(const void* sender) override;
    bool isVisible() const override;
    void performClose(const void* sender) override;
    void orderOut(const void* sender) override;
    void makeFirstResponder() override;
    void setWillCloseHandler(std::function<void()> handler) override;
    void beginSheet(Window& sheet) override;
    void endSheet(Window& sheet) override;
    void beginAlertSheet(const Alert& alert, AlertEnd didEnd) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void askToClose();

    std::unique_ptr<QWidget> widget_;
    Choices& choices_;
    Alerts& alerts_;
    CloseRequest closeRequest_;
    std::function<void()> willClose_;
    bool isClosing_ = false;
    WidgetWindow* sheetOf_ = nullptr;
};

}  // namespace quillbox::desktop
