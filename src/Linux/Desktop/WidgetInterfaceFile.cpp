// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/WidgetInterfaceFile.h"

#include "Linux/Desktop/Controls.h"

#include <QRadioButton>
#include <QTreeWidget>

#include <stdexcept>
#include <utility>

namespace quillbox::desktop {

namespace {

constexpr const char* kActionProperty = "action";
constexpr const char* kCloseProperty = "closeAction";

std::string selectorOf(const QWidget& widget, const char* property) {
    return widget.property(property).toString().toStdString();
}

/// The row of a list that carries an outlet's name (as its status tip); null without one.
QTreeWidgetItem* rowNamed(const QWidget& top, const QString& outlet) {
    for (auto* list : top.findChildren<QTreeWidget*>()) {
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            if (list->topLevelItem(i)->statusTip(0) == outlet) {
                return list->topLevelItem(i);
            }
        }
    }
    return nullptr;
}

}  // namespace

WidgetInterfaceFile::WidgetInterfaceFile(std::string name, Form form, Choices& choices,
                                         Alerts& alerts, Icons& icons)
    : name_(std::move(name)),
      choices_(choices),
      icons_(icons),
      window_(std::make_unique<WidgetWindow>(std::move(form.window), choices, alerts)),
      self_(std::make_shared<WidgetInterfaceFile*>(this)) {
    connectActions(window_->widget());
    for (auto& [outlet, sheet] : form.sheets) {
        auto made = std::make_unique<WidgetWindow>(std::move(sheet), choices, alerts);
        connectActions(made->widget());
        if (auto selector = selectorOf(made->widget(), kCloseProperty); !selector.empty()) {
            actions_.try_emplace(selector);
            made->setCloseRequest([this, selector, widget = &made->widget()] {
                if (const Action action = actions_.at(selector)) {
                    action(widget);
                }
            });
        }
        sheets_.emplace(outlet, std::move(made));
    }
}

WidgetInterfaceFile::~WidgetInterfaceFile() {
    *self_ = nullptr;
}

void WidgetInterfaceFile::unknown(std::string_view what, const char* kind) const {
    throw std::logic_error("the interface file " + name_ + " has no " + kind + " named " +
                           std::string(what));
}

template <typename Widget>
Widget& WidgetInterfaceFile::widget(std::string_view outlet, const char* kind) {
    const QString wanted = text(outlet);
    if (auto* found = window_->widget().template findChild<Widget*>(wanted)) {
        return *found;
    }
    for (const auto& [name, sheet] : sheets_) {
        if (auto* found = sheet->widget().template findChild<Widget*>(wanted)) {
            return *found;
        }
    }
    unknown(outlet, kind);
}

template <typename Bound, typename Widget, typename... More>
Bound& WidgetInterfaceFile::control(std::string_view outlet, const char* kind, More&... more) {
    return keep<Bound>(outlet, kind, [&] {
        return std::make_shared<Bound>(widget<Widget>(outlet, kind), more...);
    });
}

template <typename Bound, typename Make>
Bound& WidgetInterfaceFile::keep(std::string_view outlet, const char* kind, const Make& make) {
    auto found = controls_.find(outlet);
    if (found == controls_.end()) {
        found = controls_.emplace(std::string(outlet), Known{typeid(Bound), make()}).first;
    }
    if (found->second.kind != typeid(Bound)) {
        unknown(outlet, kind);
    }
    return *static_cast<Bound*>(found->second.control.get());
}

Window& WidgetInterfaceFile::window(std::string_view outlet) {
    const auto found = sheets_.find(outlet);
    if (found == sheets_.end()) {
        unknown(outlet, "window");
    }
    return *found->second;
}

CheckBox& WidgetInterfaceFile::checkBox(std::string_view outlet) {
    return control<BoundCheckBox, QCheckBox>(outlet, "check box");
}

TextField& WidgetInterfaceFile::textField(std::string_view outlet) {
    const QString wanted = text(outlet);
    for (const auto& [name, sheet] : sheets_) {
        if (auto* row = rowNamed(sheet->widget(), wanted)) {
            return keep<BoundRow>(outlet, "text field",
                                  [row] { return std::make_shared<BoundRow>(*row); });
        }
    }
    if (window_->widget().findChild<QLabel*>(wanted) != nullptr) {
        return control<BoundLabel, QLabel>(outlet, "text field");
    }
    return control<BoundLineEdit, QLineEdit>(outlet, "text field");
}

Button& WidgetInterfaceFile::button(std::string_view outlet) {
    return control<BoundButton, QPushButton>(outlet, "button");
}

PopUpButton& WidgetInterfaceFile::popUpButton(std::string_view outlet) {
    return control<BoundPopUpButton, QComboBox>(outlet, "pop-up button");
}

SegmentedControl& WidgetInterfaceFile::segmentedControl(std::string_view outlet) {
    return control<BoundSegmentedControl, QWidget>(outlet, "segmented control");
}

LevelBar& WidgetInterfaceFile::levelBar(std::string_view outlet) {
    return control<BoundLevelBar, QProgressBar>(outlet, "level bar");
}

ImageView& WidgetInterfaceFile::imageView(std::string_view outlet) {
    return control<BoundImageView, QLabel>(outlet, "image view", icons_);
}

PathControl& WidgetInterfaceFile::pathControl(std::string_view outlet) {
    return control<BoundPathControl, QLineEdit>(outlet, "path control");
}

void WidgetInterfaceFile::setAction(std::string_view selector, Action action) {
    const auto found = actions_.find(selector);
    if (found == actions_.end()) {
        unknown(selector, "action");
    }
    found->second = std::move(action);
}

void WidgetInterfaceFile::connectActions(QWidget& top) {
    for (auto* each : top.findChildren<QWidget*>()) {
        if (const auto selector = selectorOf(*each, kActionProperty); !selector.empty()) {
            actions_.try_emplace(selector);
            connectAction(*each, selector);
        }
    }
}

void WidgetInterfaceFile::connectAction(QWidget& sender, const std::string& selector) {
    const auto work = [this, selector, &sender] { run(selector, sender); };
    if (auto* button = qobject_cast<QAbstractButton*>(&sender)) {
        QObject::connect(button, &QAbstractButton::clicked, button, work);
    } else if (auto* choice = qobject_cast<QComboBox*>(&sender)) {
        QObject::connect(choice, &QComboBox::activated, choice, work);
    } else {
        for (auto* segment : sender.findChildren<QAbstractButton*>(Qt::FindDirectChildrenOnly)) {
            QObject::connect(segment, &QAbstractButton::clicked, segment, work);
        }
    }
}

void WidgetInterfaceFile::run(const std::string& selector, const QWidget& sender) {
    const auto bound = controls_.find(sender.objectName().toStdString());
    const void* who = bound != controls_.end() ? bound->second.control.get() : &sender;
    choices_.post([self = self_, selector, who] {
        if (*self != nullptr) {
            // A copy: the action may set another one.
            if (const Action action = (*self)->actions_.at(selector)) {
                action(who);
            }
        }
    });
}

}  // namespace quillbox::desktop
