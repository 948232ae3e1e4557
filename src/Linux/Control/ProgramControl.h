// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::control {

/// The state of a device that can be used.
inline constexpr const char* kTrustedState = "trusted";

/// An attached device at one moment, announced or not.
struct DeviceView {
    std::string name;          ///< empty where the device has not told it
    std::string serialNumber;  ///< empty where the device has not told it
    std::string uniqueDeviceID;
    std::string state;   ///< one of a few fixed words, or `kTrustedState`
    std::string advice;  ///< the same as a sentence for a person, without its full stop
    bool isMounted = false;
    std::string mountPoint;  ///< empty while it is not mounted
    std::string root;        ///< "Root", "Media" or a bundle identifier; empty without a session
    std::string rootName;    ///< the same for a person

    // What the device's menu offers at this moment; nothing where it has no menu entry.
    bool mayMount = false;
    bool mayUnmount = false;
    bool mayReveal = false;
    bool mayShowInfo = false;
    bool mayChangeRoot = false;
};

/// A root that the device's menu offers.
struct RootView {
    std::int32_t tag = 0;
    std::string identifier;  ///< "Root", "Media" or a bundle identifier
    std::string name;        ///< as the menu shows it
    bool isCurrent = false;  ///< chosen in the menu, and what the volume shows
};

/// One line of what is known about a device.
struct DeviceFact {
    std::string key;    ///< for programs
    std::string label;  ///< for persons
    std::string value;
};

/// The running program as verbs see it. A device is named by its unique identifier. Main thread.
class ProgramControl {
public:
    /// Called once, on the main thread: nothing when it is so, else a sentence why not.
    using Done = std::function<void(std::optional<std::string> problem)>;

    virtual ~ProgramControl() = default;

    virtual std::vector<DeviceView> devices() = 0;

    // Each does what the menu item of its name does, and may be called where that is offered.
    virtual void mount(const std::string& device, Done done) = 0;
    virtual void unmount(const std::string& device, Done done) = 0;
    virtual std::vector<RootView> roots(const std::string& device) = 0;
    virtual void changeRoot(const std::string& device, std::int32_t tag, Done done) = 0;
    virtual std::vector<DeviceFact> information(const std::string& device) = 0;
    virtual void reveal(const std::string& device) = 0;

    /// Brings the program to the user's sight. False where it has no display.
    virtual bool raise() = 0;
    /// What the program was started with, for a second start to compare.
    virtual std::vector<std::string> startOptions() = 0;
};

}  // namespace quillbox::control
