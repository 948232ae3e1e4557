// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace quillbox::desktop {

/// The widgets of one interface file. A control carries the name of its outlet as its object name,
/// and the selector that it calls as its property "action".
struct Form {
    std::unique_ptr<QWidget> window;
    std::map<std::string, std::unique_ptr<QWidget>, std::less<>> sheets;  ///< by outlet
};

/// Builds the widgets of an interface file; a form without a window for a name that is not known.
Form buildForm(std::string_view name);

}  // namespace quillbox::desktop
