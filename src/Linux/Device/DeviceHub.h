// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/AttachedDevice.h"
#include "Linux/Device/Files/Handles.h"
#include "Linux/Device/Lockdown/Device.h"
#include "Linux/Device/Lockdown/Options.h"
#include "Linux/Device/Lockdown/PlatformLink.h"
#include "Linux/Device/Lockdown/TrustState.h"
#include "Linux/Device/Lockdown/Workers.h"
#include "Linux/Device/Multiplexer/DeviceRoster.h"

#include "Core/Platform/MobileDevice.h"

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::device {

/// The life of attached devices: first contact and trust, the notices of their coming and going,
/// what ends when they leave, and getting lost connections back. Shared with the jobs that work for
/// it. Any thread, where nothing else is said.
class DeviceHub : public RosterEvents, public std::enable_shared_from_this<DeviceHub> {
public:
    /// Told of every open connection that is about to end; `deviceGone` where its device left, else
    /// its user closes it. Any thread, no lock held.
    using ConnectionEnds = std::function<void(AFCConnectionRef, bool deviceGone)>;
    /// Told of every change of a device's state. Any thread, no lock held.
    using TrustObserver = std::function<void(AMDeviceRef, DeviceTrustState)>;

    DeviceHub(std::shared_ptr<PlatformLink> platform, const DeviceOptions& options);

    // From the roster, on the listener's thread.
    void willArrive(const std::string& udid, std::uint32_t number,
                    std::uint32_t productId) override;
    void arrived(const std::string& udid) override;
    void departed(const std::string& udid) override;
    void paired(const std::string& udid) override;
    void pathChanged(const std::string& udid) override;
    bool hasLiveConnection(const std::string& udid) override;

    /// Main thread. Devices that were announced already are announced to the new one too.
    std::uint64_t subscribe(AMDeviceNotificationCallback callback, void* userData);

    void setConnectionEnds(ConnectionEnds observer);
    void setTrustObserver(TrustObserver observer);

    /// A connection is about to be closed by its user.
    void connectionCloses(AFCConnectionRef connection);
    /// A connection broke, or could not be opened again.
    void connectionLost(const std::shared_ptr<AfcConnection>& connection);

    /// What is attached at this moment, by identifier.
    std::vector<AttachedDevice> attached();

    Workers& workers() { return workers_; }

    const std::shared_ptr<Handles>& handles() { return handles_; }

    /// Breaks all devices' connections; nothing is announced any more. Bounded by the options.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;

    /// What is known about a device on its way to being announced.
    struct Arrival {
        explicit Arrival(std::shared_ptr<Device> guest) : device{std::move(guest)} {}

        const std::shared_ptr<Device> device;
        std::mutex mutex;  ///< guards what follows
        DeviceTrustState state = DeviceTrustState::Unknown;
        bool mayAsk = true;  ///< whether it may be asked to pair
        Clock::time_point lastAsked{};
        bool contacting = false;    ///< a job is at it
        bool contactAgain = false;  ///< and shall begin anew
        bool scheduled = false;     ///< a job is planned
        /// Message 1 led to no connection: it is announced again when it can be used.
        bool failed = false;
        /// What to do about that: see whether the file service starts.
        bool probe = false;
    };

    struct Subscriber {
        std::uint64_t id;
        AMDeviceNotificationCallback callback;
        void* userData;
    };

    std::shared_ptr<Arrival> add(const std::string& udid);
    std::shared_ptr<Arrival> find(const std::string& udid);
    std::shared_ptr<Arrival> find(const Device& device);
    void post(const std::shared_ptr<Arrival>& arrival);
    void postAfter(const std::shared_ptr<Arrival>& arrival, Milliseconds pause);
    void contact(const std::shared_ptr<Arrival>& arrival);
    std::optional<Milliseconds> tryContact(Arrival& arrival);
    std::optional<Milliseconds> tryPairing(Arrival& arrival, FailureKind reason);
    std::optional<Milliseconds> tryService(Arrival& arrival);
    void setState(Arrival& arrival, DeviceTrustState state, const std::string& detail = {});
    void tellTrust(Device& device, DeviceTrustState state);
    void announce(const std::shared_ptr<Device>& device);
    void deliverConnected(const std::shared_ptr<Device>& device);
    void judgeArrival(Arrival& arrival);
    void deliver(const Subscriber& subscriber, Device& device, std::uint32_t message);
    void leave(const std::shared_ptr<Device>& device);
    void recover(const std::shared_ptr<AfcConnection>& connection);
    void unreachable(const std::shared_ptr<Device>& device);
    void tellConnectionEnds(AFCConnectionRef connection, bool deviceGone);

    const std::shared_ptr<PlatformLink> platform_;
    const DeviceOptions options_;
    const std::shared_ptr<Handles> handles_;
    Workers workers_;

    std::mutex mutex_;
    std::deque<am_device> records_;  ///< one for each arrival, for the process's life

    /// What the next arrival is known by; listener's thread only.
    struct {
        std::string udid;
        std::uint32_t number = 0;
        std::uint32_t productId = 0;
    } next_;

    std::map<std::string, std::shared_ptr<Arrival>> attached_;
    bool stopped_ = false;
    std::shared_ptr<const ConnectionEnds> connectionEnds_;
    std::shared_ptr<const TrustObserver> trustObserver_;

    std::vector<Subscriber> subscribers_;  ///< main thread only
};

}  // namespace quillbox::device
