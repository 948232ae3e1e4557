// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/ProgramControl.h"
#include "Linux/Control/Protocol.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quillbox::control {

/// Carries out verbs: finds the device, holds to what its menu offers, puts the outcome into words.
/// Main thread.
class VerbDesk {
public:
    using Reply = std::function<void(Answer)>;

    explicit VerbDesk(ProgramControl& program) : program_(program) {}

    /// Replies once, at once or when the verb is done. Everything but "quit", which is not the
    /// main thread's to wait for.
    void perform(const Request& request, const Reply& reply);

    /// Whether a verb changes nothing, asks no device and is replied to at once. Any thread.
    static bool onlyLooks(const Request& request);

private:
    void mount(const DeviceView& device, bool json, const Reply& reply);
    void unmount(const DeviceView& device, bool json, const Reply& reply);
    void root(const DeviceView& device, const Request& request, const Reply& reply);
    /// Replies with the device as it is now, or with the problem.
    ProgramControl::Done whenDone(const DeviceView& device, bool json, const Reply& reply);
    Answer deviceAnswer(const std::string& uniqueDeviceID, bool json);
    Answer raise(const std::vector<std::string>& options);

    ProgramControl& program_;
};

}  // namespace quillbox::control
