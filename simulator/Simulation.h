// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Multiplexer.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::simulator {

/// A device to be added.
struct NewDevice {
    DeviceDescription description;  ///< its folder, and its media area when empty, are filled in
    bool trusted = true;            ///< paired with this computer
    bool attached = true;
    bool sample = false;  ///< with applications and, unless a media area is given, sample content
};

/// Everything that is simulated: the devices and the multiplexer that they are plugged into.
/// Thread-safe.
class Simulation {
public:
    /// `state` keeps the multiplexer's identifier, the devices' folders and, unless another file is
    /// given for it, the key pair; it is made. Throws std::exception when it cannot be used.
    Simulation(std::filesystem::path socket, const std::filesystem::path& state,
               const std::filesystem::path& keyFile = {});
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;
    ~Simulation();

    /// Makes the device's folders and content, pairs and attaches it as asked. Throws
    /// std::exception when the identifier is taken or cannot be used, or its content cannot be
    /// written.
    std::shared_ptr<Device> add(NewDevice device);

    /// Detaches the device and forgets it; its files stay. False when there is none.
    bool remove(const std::string& udid);

    /// Devices in the order in which they were added.
    [[nodiscard]] std::vector<std::shared_ptr<Device>> devices() const;

    /// The device of an identifier, null without one.
    [[nodiscard]] std::shared_ptr<Device> find(const std::string& udid) const;

    [[nodiscard]] Environment& environment() { return environment_; }

    [[nodiscard]] Multiplexer& multiplexer() { return multiplexer_; }

    [[nodiscard]] TaskGroup& tasks() { return tasks_; }

    /// Ends all connections and waits for all that runs. Nothing can be added afterwards.
    void shutDown();

private:
    std::filesystem::path state_;
    Environment environment_;
    TaskGroup tasks_;
    Multiplexer multiplexer_;
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Device>> devices_;
};

/// Device number `index` (from 0) of those that are made without being described: every one has a
/// name
/// ("Blue Phone", "Red Phone" ...), identifier and serial number of its own.
[[nodiscard]] DeviceDescription numberedDevice(unsigned index);

/// Whether an identifier can be a device's: 1 to 64 letters, digits and hyphens.
[[nodiscard]] bool isDeviceIdentifier(std::string_view udid);

}  // namespace quillbox::simulator
