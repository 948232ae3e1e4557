// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/ProgramControl.h"
#include "Linux/Control/VerbDesk.h"
#include "Linux/Control/VerbServer.h"
#include "Linux/Host/MainLoop.h"

#include <functional>
#include <memory>
#include <string>

namespace quillbox::app {

/// Where the verbs of other processes come in: received on a thread of their own, carried out on
/// the main loop; those that only look also while the main thread waits for a device. Main thread.
class ControlPoint {
public:
    /// `quit` is called on any thread. Connections stay until the end of this object, and whoever
    /// asked to quit waits for theirs to close. Null with a reason in `error`.
    static std::unique_ptr<ControlPoint> open(const std::string& socketPath, host::MainLoop& loop,
                                              std::function<void()> quit, std::string* error);

    /// From now on verbs are carried out on this program; with null, as at first, they are refused.
    void serve(control::ProgramControl* program);

private:
    using Desk = std::unique_ptr<control::VerbDesk>;

    /// Shared with requests on their way through the loop; main thread.
    const std::shared_ptr<Desk> desk_ = std::make_shared<Desk>();
    std::unique_ptr<control::VerbServer> server_;
};

}  // namespace quillbox::app
