// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Alerts.h"

#include "Core/Platform/LogLine.h"
#include "Linux/Desktop/Icons.h"
#include "Linux/Desktop/Owned.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <memory>
#include <utility>

namespace quillbox::desktop {

namespace {

constexpr int kColumns = 46;
constexpr QSize kIconSize(48, 48);

}  // namespace

Alerts::~Alerts() {
    const std::unique_ptr<QMessageBox> open(box_);
}

void Alerts::show(const Alert& alert, QWidget* sheetOf, Window::AlertEnd didEnd) {
    logLine(log_, LogLevel::Info, "Alert: ", alert.messageText,
            alert.messageText.empty() || alert.informativeText.empty() ? "" : ": ",
            alert.informativeText);
    waiting_.push_back({alert, sheetOf, sheetOf != nullptr, std::move(didEnd)});
    if (waiting_.size() == 1) {
        showNext();
    }
}

void Alerts::showNext() {
    if (waiting_.empty()) {
        return;
    }
    const Waiting& next = waiting_.front();
    QWidget* const parent = next.sheetOf && next.sheetOf->isVisible() ? next.sheetOf : nullptr;
    box_ = makeOwned<QMessageBox>(parent);
    box_->setObjectName(QStringLiteral("Alert"));
    box_->setIcon(QMessageBox::Warning);
    if (!QIcon::hasThemeIcon(QStringLiteral("dialog-warning"))) {
        // The library's own sign is coarse on dense screens.
        box_->setIconPixmap(QApplication::windowIcon().pixmap(kIconSize, box_->devicePixelRatio()));
    }
    box_->setWindowTitle(QStringLiteral("Quillbox"));
    box_->setTextFormat(Qt::PlainText);  // a device's name may be in it
    box_->setText(shown(next.alert.messageText));
    // The rich text that this field takes is not switched off by the line above.
    box_->setInformativeText(literal(shown(next.alert.informativeText)));
    for (auto* label : box_->findChildren<QLabel*>()) {
        if (label->wordWrap()) {  // a box as wide as its short title would be all lines
            label->setMinimumWidth(kColumns * label->fontMetrics().averageCharWidth());
        }
    }
    const auto titles =
        next.alert.buttons.empty() ? std::vector<std::string>{"OK"} : next.alert.buttons;
    for (const auto& title : titles) {
        auto* button = box_->addButton(shown(title).replace(QLatin1Char('&'), QStringLiteral("&&")),
                                       QMessageBox::AcceptRole);
        if (box_->defaultButton() == nullptr) {
            box_->setDefaultButton(button);
            box_->setEscapeButton(button);
        }
    }
    box_->setWindowModality(parent != nullptr ? Qt::WindowModal : Qt::NonModal);
    QObject::connect(box_, &QMessageBox::finished, box_, [this] {
        const auto buttons = box_->buttons();
        const auto place = std::max<qsizetype>(buttons.indexOf(box_->clickedButton()), 0);
        choices_.post([this, place] { ended(static_cast<int>(place)); });
    });
    box_->show();
}

void Alerts::ended(int button) {
    const auto didEnd = std::move(waiting_.front().didEnd);
    waiting_.pop_front();
    if (box_) {
        box_->deleteLater();
        box_.clear();
    }
    if (didEnd) {
        didEnd(button);
    }
    if (!box_) {
        showNext();
    }
}

}  // namespace quillbox::desktop
