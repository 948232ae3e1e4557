// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/WidgetWindow.h"

#include "Linux/Desktop/Owned.h"

#include <QEvent>
#include <QShortcut>
#include <QWidget>
#include <QWindow>

namespace quillbox::desktop {

WidgetWindow::WidgetWindow(std::unique_ptr<QWidget> widget, Choices& choices, Alerts& alerts)
    : widget_(std::move(widget)), choices_(choices), alerts_(alerts) {
    widget_->setAttribute(Qt::WA_QuitOnClose, false);
    widget_->installEventFilter(this);
    const auto shortcut = [this](const QKeySequence& keys, auto&& work) {
        auto* made = makeOwned<QShortcut>(keys, widget_.get());
        QObject::connect(made, &QShortcut::activated, this, work);
    };
    shortcut(Qt::Key_Escape, [this] { askToClose(); });
    shortcut(Qt::CTRL | Qt::Key_W, [this] { askToClose(); });
    shortcut(Qt::CTRL | Qt::Key_Q, [this] { choices_.quit(); });
}

WidgetWindow::~WidgetWindow() {
    widget_->removeEventFilter(this);
}

bool WidgetWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Close && !isClosing_) {
        event->ignore();
        askToClose();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void WidgetWindow::askToClose() {
    const QPointer<QWidget> alive(widget_.get());
    choices_.post([this, alive] {
        if (!alive) {
            return;
        }
        if (closeRequest_) {
            closeRequest_();
        } else {
            performClose(this);
        }
    });
}

void WidgetWindow::showWindow(const void* /*sender*/) {
    widget_->setWindowState(widget_->windowState() & ~Qt::WindowMinimized);
    widget_->show();
    widget_->raise();
    widget_->activateWindow();
}

bool WidgetWindow::isVisible() const {
    return widget_->isVisible();
}

void WidgetWindow::performClose(const void* /*sender*/) {
    if (!widget_->isVisible() || isClosing_) {
        return;
    }
    isClosing_ = true;
    if (willClose_) {
        willClose_();
    }
    widget_->close();
    isClosing_ = false;
}

void WidgetWindow::orderOut(const void* /*sender*/) {
    widget_->hide();
}

void WidgetWindow::makeFirstResponder() {
    if (QWidget* focus = widget_->focusWidget()) {
        focus->clearFocus();
    }
}

void WidgetWindow::setWillCloseHandler(std::function<void()> handler) {
    willClose_ = std::move(handler);
}

void WidgetWindow::beginSheet(Window& sheet) {
    auto& shown = dynamic_cast<WidgetWindow&>(sheet);
    if (shown.sheetOf_ == this && shown.isVisible()) {
        shown.showWindow(nullptr);
        return;
    }
    shown.sheetOf_ = this;
    // The sheet blocks input to this window and to no other, and stays above it.
    shown.widget().setParent(nullptr);
    shown.widget().setWindowFlags(Qt::Dialog);
    shown.widget().setWindowModality(Qt::WindowModal);
    shown.widget().winId();
    shown.widget().windowHandle()->setTransientParent(widget_->windowHandle());
    shown.showWindow(nullptr);
}

void WidgetWindow::endSheet(Window& sheet) {
    auto& ended = dynamic_cast<WidgetWindow&>(sheet);
    if (ended.sheetOf_ == this) {
        ended.sheetOf_ = nullptr;
    }
}

void WidgetWindow::beginAlertSheet(const Alert& alert, AlertEnd didEnd) {
    alerts_.show(alert, widget_.get(), std::move(didEnd));
}

}  // namespace quillbox::desktop
