// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/MenuWindow.h"

#include "Linux/Desktop/Owned.h"

#include <QActionEvent>
#include <QFrame>
#include <QMenu>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <memory>

namespace quillbox::desktop {

MenuWindow::MenuWindow(QMenu& menu) : menu_(menu), rows_(makeOwned<QVBoxLayout>(this)) {
    setObjectName(QStringLiteral("MenuWindow"));
    setWindowTitle(QStringLiteral("Quillbox"));
    setWindowFlag(Qt::WindowMaximizeButtonHint, false);
    rows_->setSpacing(0);
    rows_->setSizeConstraint(QLayout::SetFixedSize);
    menu_.installEventFilter(this);
    rebuild();
}

bool MenuWindow::eventFilter(QObject* watched, QEvent* event) {
    // The menu tells before its list of actions is whole again.
    if (!isDue_ &&
        (event->type() == QEvent::ActionAdded || event->type() == QEvent::ActionRemoved ||
         event->type() == QEvent::ActionChanged)) {
        isDue_ = true;
        QTimer::singleShot(0, this, [this] { rebuild(); });
    }
    return QWidget::eventFilter(watched, event);
}

void MenuWindow::rebuild() {
    isDue_ = false;
    while (const std::unique_ptr<QLayoutItem> row{rows_->takeAt(0)}) {
        row->widget()->hide();
        row->widget()->deleteLater();  // one of them may be what was just clicked
    }
    for (QAction* action : menu_.actions()) {
        if (action->isSeparator()) {
            auto* line = makeOwned<QFrame>(this);
            line->setFrameShape(QFrame::HLine);
            line->setFrameShadow(QFrame::Sunken);
            rows_->addWidget(line);
            continue;
        }
        auto* button = makeOwned<QToolButton>(this);
        button->setDefaultAction(action);
        button->setAutoRaise(true);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        button->setFocusPolicy(Qt::StrongFocus);
        button->setPopupMode(QToolButton::InstantPopup);
        button->setMinimumWidth(fontMetrics().averageCharWidth() * 34);
        rows_->addWidget(button);
    }
}

}  // namespace quillbox::desktop
