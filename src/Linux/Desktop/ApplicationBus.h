// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace quillbox::desktop {

/// The program under its own name on the session bus: the interface `org.freedesktop.Application`,
/// by which desktops start it, bring it to the front and choose its actions. Without a session bus,
/// or where another one has the name, it does nothing. Needs the application object; main thread.
class ApplicationBus {
public:
    /// By name; the one without a name is to activate the program. Called on the main thread, also
    /// within long waits.
    using Actions = std::map<std::string, std::function<void()>>;

    /// Files that it is asked to open are none of its business: it is activated instead.
    ApplicationBus(const std::string& applicationId, Actions actions);
    ~ApplicationBus();
    ApplicationBus(const ApplicationBus&) = delete;
    ApplicationBus& operator=(const ApplicationBus&) = delete;

private:
    class Object;
    std::unique_ptr<Object> object_;
};

}  // namespace quillbox::desktop
