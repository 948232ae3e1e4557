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

/// The device that a word of the command line means: by unique identifier, else by serial number,
/// else by name. Null with a sentence where none or several are meant.
const DeviceView* findDevice(const std::vector<DeviceView>& devices, const std::string& word,
                             std::string* problem);
/// The root that a word means: "Root" and "Media" in any case, else a bundle identifier, else a
/// name. Null with a sentence where none or several are meant.
const RootView* findRoot(const std::vector<RootView>& roots, const std::string& word,
                         std::string* problem);

/// What a person calls the device.
std::string callName(const DeviceView& device);

}  // namespace quillbox::control
