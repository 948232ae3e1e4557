// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/InterfaceFile.h"

#include <initializer_list>
#include <memory>
#include <string_view>

namespace quillbox {

struct Platform;

/// What every controller of a window is made of: its interface file, loaded when the controller is
/// made, and the way its window comes to the front. Works on the platform of `CommonData`. Main
/// thread.
class WindowController {
public:
    WindowController(const WindowController&) = delete;
    WindowController& operator=(const WindowController&) = delete;

    Window& window() const { return file_->window(); }

protected:
    /// Only a controller's own class makes one.
    struct Key {};

    /// One action of a controller, under the selector that the interface file calls it by.
    template <typename Controller>
    struct ActionOf {
        std::string_view selector;
        void (Controller::*action)(const void* sender);
    };

    /// Throws what `InterfaceFiles::loadNibNamed` throws.
    explicit WindowController(std::string_view nibName);
    ~WindowController() = default;

    static const Platform& platform();

    InterfaceFile& file() const { return *file_; }

    /// The program's windows to the front, this window among them, and the program before others.
    void present() const;

    template <typename Controller>
    void connect(Controller& controller,
                 std::initializer_list<ActionOf<Controller>> actions) const {
        for (const auto& each : actions) {
            file_->setAction(each.selector,
                             [&controller, action = each.action](const void* sender) {
                                 (controller.*action)(sender);
                             });
        }
    }

private:
    std::unique_ptr<InterfaceFile> file_;
};

}  // namespace quillbox
