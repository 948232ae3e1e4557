// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Controls.h"

#include <QAbstractButton>
#include <QTreeWidget>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace quillbox::desktop {

namespace {

constexpr int kFullBar = 1000;
constexpr int kValueColumn = 1;
constexpr std::string_view kNoValue("Not available");

/// Tells a text by pointer where its field is too short for it, and a screen reader without the
/// markup of the former.
void tellWhole(QWidget& field, const QString& whole) {
    field.setToolTip(literal(whole));
    field.setAccessibleDescription(whole);
}

}  // namespace

void BoundLineEdit::setStringValue(const std::string& value) {
    // What a user may change comes back: it is left as it is.
    widget_.setText(widget_.isReadOnly() ? shownValue(value) : text(value));
    widget_.setCursorPosition(0);
    if (widget_.isReadOnly()) {
        tellWhole(widget_, widget_.text());
    }
}

BoundLabel::BoundLabel(QLabel& label) : WidgetControl(label) {
    label.setTextFormat(Qt::PlainText);
}

void BoundLabel::setStringValue(const std::string& value) {
    const bool isOwnText = widget_.property("coreText").toBool();
    widget_.setText(isOwnText ? shown(value) : shownValue(value));
}

void BoundRow::setStringValue(const std::string& value) {
    row_.setText(kValueColumn, shownValue(value));
    row_.setToolTip(kValueColumn, literal(shownValue(value)));
    const auto palette = row_.treeWidget()->palette();
    const bool isMissing = value == kNoValue;
    row_.setForeground(kValueColumn,
                       palette.brush(isMissing ? QPalette::PlaceholderText : QPalette::Text));
}

std::string BoundRow::stringValue() const {
    return row_.text(kValueColumn).toStdString();
}

void BoundRow::setEnabled(bool isEnabled) {
    row_.setDisabled(!isEnabled);
}

bool BoundRow::isEnabled() const {
    return !row_.isDisabled();
}

void BoundButton::setTitle(const std::string& title) {
    widget_.setText(shown(title).replace(QLatin1Char('&'), QStringLiteral("&&")));
}

void BoundPopUpButton::selectItemAtIndex(std::int64_t index) {
    const bool isThere = index >= 0 && index < widget_.count();
    widget_.setCurrentIndex(isThere ? static_cast<int>(index) : -1);
}

QList<QAbstractButton*> BoundSegmentedControl::segments() const {
    return widget_.findChildren<QAbstractButton*>(Qt::FindDirectChildrenOnly);
}

void BoundSegmentedControl::setSelectedSegment(std::int64_t segment) {
    const auto all = segments();
    for (qsizetype i = 0; i < all.size(); ++i) {
        // Buttons that exclude each other let none be switched off.
        all[i]->setAutoExclusive(false);
        all[i]->setChecked(i == segment);
        all[i]->setAutoExclusive(true);
    }
}

std::int64_t BoundSegmentedControl::selectedSegment() const {
    const auto all = segments();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [](const auto* button) { return button->isChecked(); });
    return found == all.end() ? -1 : found - all.begin();
}

BoundLevelBar::BoundLevelBar(QProgressBar& bar) : WidgetControl(bar) {
    bar.setRange(0, kFullBar);
    bar.setTextVisible(false);
}

void BoundLevelBar::setDoubleValue(double value) {
    const double level = std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0);
    widget_.setValue(static_cast<int>(std::lround(level * kFullBar)));
}

void BoundImageView::setImage(const std::optional<Image>& image) {
    const QIcon icon = icons_.icon(image);
    widget_.setPixmap(
        icon.pixmap(widget_.maximumSize(), widget_.devicePixelRatioF(), QIcon::Normal));
}

void BoundPathControl::setPath(const std::string& path) {
    widget_.setText(text(path));
    widget_.setCursorPosition(0);
    tellWhole(widget_, text(path));
}

}  // namespace quillbox::desktop
