// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/WindowControls.h"
#include "Linux/Desktop/Icons.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

class QAbstractButton;
class QTreeWidgetItem;

namespace quillbox::desktop {

// The widgets of the interface files as a controller sees them. Each belongs to its file.

template <typename Interface, typename Widget>
class WidgetControl : public Interface {
public:
    explicit WidgetControl(Widget& widget) : widget_(widget) {}

    void setEnabled(bool isEnabled) override { widget_.setEnabled(isEnabled); }

    bool isEnabled() const override { return widget_.isEnabled(); }

protected:
    Widget& widget_;
};

class BoundCheckBox final : public WidgetControl<CheckBox, QCheckBox> {
public:
    using WidgetControl::WidgetControl;

    void setState(bool isOn) override { widget_.setChecked(isOn); }

    bool state() const override { return widget_.isChecked(); }
};

class BoundLineEdit final : public WidgetControl<TextField, QLineEdit> {
public:
    using WidgetControl::WidgetControl;
    void setStringValue(const std::string& value) override;

    std::string stringValue() const override { return widget_.text().toStdString(); }
};

/// Its text is the program's own, and not a value, where the label has the property "coreText".
class BoundLabel final : public WidgetControl<TextField, QLabel> {
public:
    explicit BoundLabel(QLabel& label);

    void setStringValue(const std::string& value) override;

    std::string stringValue() const override { return widget_.text().toStdString(); }
};

/// The value of a row of a list with two columns.
class BoundRow final : public TextField {
public:
    explicit BoundRow(QTreeWidgetItem& row) : row_(row) {}

    void setStringValue(const std::string& value) override;
    std::string stringValue() const override;
    void setEnabled(bool isEnabled) override;
    bool isEnabled() const override;

private:
    QTreeWidgetItem& row_;
};

class BoundButton final : public WidgetControl<Button, QPushButton> {
public:
    using WidgetControl::WidgetControl;
    void setTitle(const std::string& title) override;
};

class BoundPopUpButton final : public WidgetControl<PopUpButton, QComboBox> {
public:
    using WidgetControl::WidgetControl;
    void selectItemAtIndex(std::int64_t index) override;

    std::int64_t indexOfSelectedItem() const override { return widget_.currentIndex(); }
};

/// Radio buttons in one container.
class BoundSegmentedControl final : public WidgetControl<SegmentedControl, QWidget> {
public:
    using WidgetControl::WidgetControl;
    void setSelectedSegment(std::int64_t segment) override;
    std::int64_t selectedSegment() const override;

private:
    QList<QAbstractButton*> segments() const;
};

class BoundLevelBar final : public WidgetControl<LevelBar, QProgressBar> {
public:
    explicit BoundLevelBar(QProgressBar& bar);
    void setDoubleValue(double value) override;
};

class BoundImageView final : public WidgetControl<ImageView, QLabel> {
public:
    BoundImageView(QLabel& label, Icons& icons) : WidgetControl(label), icons_(icons) {}

    void setImage(const std::optional<Image>& image) override;

private:
    Icons& icons_;
};

class BoundPathControl final : public WidgetControl<PathControl, QLineEdit> {
public:
    using WidgetControl::WidgetControl;
    void setPath(const std::string& path) override;
};

}  // namespace quillbox::desktop
