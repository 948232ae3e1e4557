// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Failure.h"
#include "Linux/Device/Lockdown/LockdownLink.h"
#include "Linux/Device/Lockdown/Options.h"
#include "Linux/Device/Lockdown/PlatformLink.h"
#include "Linux/Device/Streams/ServiceConnection.h"

#include "Core/Platform/MobileDevice.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace quillbox::device {

/// One attached device from its arrival to its departure: how it is reached, what it is called, and
/// everything that must end at once when it leaves. Any thread. Shared by the jobs that work for
/// it, the connections that are open on it and its record.
class Device final : public LockdownPeer {
public:
    Device(std::string udid, std::shared_ptr<PlatformLink> platform, const DeviceOptions& options);
    ~Device();

    const std::string& udid() const override { return udid_; }

    const DeviceOptions& options() const { return options_; }

    PlatformLink& platform() { return *platform_; }

    LockdownLink& lockdown() { return *lockdown_; }

    /// The words for the log: name and serial number, as far as they are known.
    std::string label() const;
    /// The words for a person: the name, or "the device".
    std::string name() const;
    /// As the device told them; empty while it did not.
    std::string knownName() const;
    std::string knownSerialNumber() const;
    void setName(const std::string& name, const std::string& serialNumber) override;
    /// The serial number as far as it is known, else the identifier.
    std::string serialNumber() const;

    bool isAttached() const override { return attached_; }

    Failure connect(std::uint16_t port, std::chrono::milliseconds noProgress,
                    std::unique_ptr<ServiceConnection>& connection) override;

    /// Breaks every connection of the device; none can be opened from now on.
    void leave();
    /// Breaks every connection of the device; new ones can be opened.
    void breakConnections();
    /// The device is now reached on another number of the multiplexer.
    void pathChanged();
    /// Whether a connection to it is open whose other side has not ended it.
    bool hasLiveConnection();

    /// What the multiplexer called it, and its model, when it arrived. Set before it is told of.
    std::uint32_t number = 0;
    std::uint32_t productId = 0;

    /// The record that stands for this device in the ports.
    AMDeviceRef record = nullptr;

    // What the arrival logic keeps about it.
    std::atomic<bool> announced{false};   ///< message 1 was posted
    std::set<std::uint64_t> deliveredTo;  ///< subscribers that got message 1; main thread only

    /// Counts from the first loss that was not made good since; zero when it is reachable.
    void noteLoss();
    void noteReached();
    std::chrono::milliseconds unreachableFor() const;

    /// The last failure that a call on the device gave, and its oblivion.
    void noteFailure(FailureKind kind) { lastFailure_ = kind; }

    FailureKind takeLastFailure() { return lastFailure_.exchange(FailureKind::None); }

private:
    using Clock = std::chrono::steady_clock;

    std::shared_ptr<DeviceHandle> handle(Failure& failure);

    const std::string udid_;
    const std::shared_ptr<PlatformLink> platform_;
    const DeviceOptions options_;
    const std::unique_ptr<LockdownLink> lockdown_;
    std::atomic<bool> attached_{true};
    std::atomic<FailureKind> lastFailure_{FailureKind::None};

    mutable std::mutex mutex_;
    std::string name_;
    std::string serialNumber_;
    std::shared_ptr<DeviceHandle> handle_;
    std::vector<std::weak_ptr<SocketBreaker>> sockets_;
    Clock::time_point lostSince_{};
};

}  // namespace quillbox::device

namespace quillbox {

/// The record behind an `AMDeviceRef`.
struct am_device {  // NOLINT(readability-identifier-naming): the platform's word
    std::shared_ptr<device::Device> device;
    // Filled when they are first asked for, and kept. Main thread.
    AMDeviceRecord record;
    std::string serialNumber;
};

}  // namespace quillbox
