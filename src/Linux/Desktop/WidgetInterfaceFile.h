// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/InterfaceFile.h"
#include "Linux/Desktop/Alerts.h"
#include "Linux/Desktop/Choices.h"
#include "Linux/Desktop/Forms.h"
#include "Linux/Desktop/Icons.h"
#include "Linux/Desktop/WidgetWindow.h"

#include <map>
#include <memory>
#include <string>
#include <typeindex>

namespace quillbox::desktop {

/// The widgets of one interface file as a controller sees them. Main thread.
class WidgetInterfaceFile final : public InterfaceFile {
public:
    /// Choices, alerts and icons must outlive this.
    WidgetInterfaceFile(std::string name, Form form, Choices& choices, Alerts& alerts,
                        Icons& icons);
    ~WidgetInterfaceFile() override;
    WidgetInterfaceFile(const WidgetInterfaceFile&) = delete;
    WidgetInterfaceFile& operator=(const WidgetInterfaceFile&) = delete;

    WidgetWindow& window() override { return *window_; }

    Window& window(std::string_view outlet) override;
    CheckBox& checkBox(std::string_view outlet) override;
    TextField& textField(std::string_view outlet) override;
    Button& button(std::string_view outlet) override;
    PopUpButton& popUpButton(std::string_view outlet) override;
    SegmentedControl& segmentedControl(std::string_view outlet) override;
    LevelBar& levelBar(std::string_view outlet) override;
    ImageView& imageView(std::string_view outlet) override;
    PathControl& pathControl(std::string_view outlet) override;
    void setAction(std::string_view selector, Action action) override;

private:
    /// A control and what it was asked for as.
    struct Known {
        std::type_index kind;
        std::shared_ptr<void> control;
    };

    template <typename Widget>
    Widget& widget(std::string_view outlet, const char* kind);
    template <typename Bound, typename Widget, typename... More>
    Bound& control(std::string_view outlet, const char* kind, More&... more);
    template <typename Bound, typename Make>
    Bound& keep(std::string_view outlet, const char* kind, const Make& make);
    [[noreturn]] void unknown(std::string_view what, const char* kind) const;
    void connectActions(QWidget& top);
    void connectAction(QWidget& sender, const std::string& selector);
    void run(const std::string& selector, const QWidget& sender);

    const std::string name_;
    Choices& choices_;
    Icons& icons_;
    std::unique_ptr<WidgetWindow> window_;
    std::map<std::string, std::unique_ptr<WidgetWindow>, std::less<>> sheets_;
    std::map<std::string, Known, std::less<>> controls_;
    std::map<std::string, Action, std::less<>> actions_;
    /// Set while this lives: a choice that comes later does nothing.
    std::shared_ptr<WidgetInterfaceFile*> self_;
};

}  // namespace quillbox::desktop
