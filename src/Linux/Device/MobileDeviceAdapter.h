// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/MobileDevice.h"
#include "Linux/Device/DeviceHub.h"

#include <functional>
#include <memory>
#include <string>

namespace quillbox::device {

/// The `MobileDevice` port: lockdown of each device, and the notices of the hub.
class MobileDeviceAdapter : public MobileDevice {
public:
    /// `onSubscribe` is called with the first subscription.
    MobileDeviceAdapter(std::shared_ptr<DeviceHub> hub, std::function<void()> onSubscribe)
        : hub_{std::move(hub)}, onSubscribe_{std::move(onSubscribe)} {}

    int AMDeviceNotificationSubscribe(AMDeviceNotificationCallback callback, std::uint32_t unused1,
                                      std::uint32_t unused2, void* userData,
                                      std::uint64_t* subscription) override;
    const AMDeviceRecord& AMDeviceGetRecord(AMDeviceRef device) override;
    int AMDeviceConnect(AMDeviceRef device) override;
    int AMDeviceIsPaired(AMDeviceRef device) override;
    int AMDeviceValidatePairing(AMDeviceRef device) override;
    int AMDeviceStartSession(AMDeviceRef device) override;
    int AMDeviceStopSession(AMDeviceRef device) override;
    int AMDeviceDisconnect(AMDeviceRef device) override;
    std::optional<PropertyValue> AMDeviceCopyValue(AMDeviceRef device,
                                                   const std::optional<std::string>& domain,
                                                   const std::string& key) override;
    int AMDeviceStartService(AMDeviceRef device, const std::string& service,
                             AFCConnectionRef* handle, void* unused) override;
    int AMDeviceStartHouseArrestService(AMDeviceRef device, const std::string& bundleIdentifier,
                                        void* options, AFCConnectionRef* handle,
                                        void* unused) override;
    int AMDeviceLookupApplications(AMDeviceRef device, const PropertyDictionary& options,
                                   std::optional<PropertyDictionary>* applications) override;

private:
    /// Runs `work(Device&)` off the main thread and keeps what went wrong for the hub.
    template <typename Work>
    int ask(AMDeviceRef record, Work work);
    int startFileService(AMDeviceRef record, const FileService& service, AFCConnectionRef* handle);

    const std::shared_ptr<DeviceHub> hub_;
    const std::function<void()> onSubscribe_;
};

}  // namespace quillbox::device
