// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/MobileDevice.h"
#include "Core/Platform/RunLoop.h"
#include "Linux/Device/AttachedDevice.h"
#include "Linux/Device/Lockdown/Options.h"
#include "Linux/Device/Lockdown/TrustState.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quillbox {

/// Attached devices, as the multiplexer announces them (USBMUXD_SOCKET_ADDRESS picks another one;
/// it is read when this is made and must not change afterwards): both device ports and what stands
/// behind them. Main thread, but for the ports. SIGPIPE must be ignored in the process.
class DeviceLibrary {
public:
    using ConnectionEndObserver = std::function<void(AFCConnectionRef, bool deviceGone)>;
    using TrustObserver = std::function<void(AMDeviceRef, DeviceTrustState)>;

    /// The main loop and the log must outlive this. Nothing begins before the first subscription.
    DeviceLibrary(RunLoop& runLoop, Log& log, const DeviceOptions& options = {});
    /// As `stop`. No thread may be inside the ports any more.
    ~DeviceLibrary();
    DeviceLibrary(const DeviceLibrary&) = delete;
    DeviceLibrary& operator=(const DeviceLibrary&) = delete;

    MobileDevice& devices();
    AFC& afc();

    /// Told of every open file connection that is about to end: with `deviceGone` on the listener's
    /// thread, before message 2, when its device left; without, on the closing thread, before it is
    /// closed, so that what is left to send can be sent. It may call the ports.
    void setConnectionEndObserver(ConnectionEndObserver observer);
    /// Told of each change of a device's state, also of devices that never were announced. Any
    /// thread.
    void setTrustObserver(TrustObserver observer);

    /// All devices that are attached at this moment, by identifier. Any thread; never blocks on
    /// one.
    std::vector<AttachedDevice> attached() const;

    /// Name and serial number of a device for a person, as far as they are known; the identifier
    /// only where there is no name.
    static std::string label(AMDeviceRef device);

    /// No message comes any more, every call fails, all connections are broken. Returns within
    /// about the time that the options give, also where a thread is stuck inside a library: that
    /// one is left behind and ends with the process.
    void stop();

private:
    class Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace quillbox
