// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Window.h"
#include "Core/Platform/WindowControls.h"

#include <functional>
#include <memory>
#include <string_view>

namespace quillbox {

/// One interface file, loaded: a window with its sheets, the controls by the names of their
/// outlets, and the actions that the controls call by the names of their selectors. Which control
/// calls which action stands in the file. It owns all that it hands out. Main thread only.
///
/// A name that the file does not know, or knows as another kind of control, is a mistake of the
/// program's makers: every operation throws `std::logic_error` with both names.
class InterfaceFile {
public:
    /// Called for what the user does with a control; the sender is that control.
    using Action = std::function<void(const void* sender)>;

    virtual ~InterfaceFile() = default;

    /// The window that the file is about.
    virtual Window& window() = 0;
    /// A further window, for example a sheet.
    virtual Window& window(std::string_view outlet) = 0;

    virtual CheckBox& checkBox(std::string_view outlet) = 0;
    virtual TextField& textField(std::string_view outlet) = 0;
    virtual Button& button(std::string_view outlet) = 0;
    virtual PopUpButton& popUpButton(std::string_view outlet) = 0;
    virtual SegmentedControl& segmentedControl(std::string_view outlet) = 0;
    virtual LevelBar& levelBar(std::string_view outlet) = 0;
    virtual ImageView& imageView(std::string_view outlet) = 0;
    virtual PathControl& pathControl(std::string_view outlet) = 0;

    /// Connects the controls that call this selector, its colons included ("resetSettings:"). A
    /// second action for a selector replaces the first.
    virtual void setAction(std::string_view selector, Action action) = 0;
};

/// The program's interface files. Main thread only.
class InterfaceFiles {
public:
    virtual ~InterfaceFiles() = default;

    /// Loads a file by its name ("Preferences"); nothing is shown yet. The result must be gone
    /// before this object. Throws `std::runtime_error` when the file is not installed or damaged.
    virtual std::unique_ptr<InterfaceFile> loadNibNamed(std::string_view name) = 0;
};

}  // namespace quillbox
