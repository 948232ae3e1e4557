// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Platform/DeviceRecord.h"
#include "Core/Platform/PropertyList.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quillbox {

/// One attached device. Made by the adapter when the device is first seen, known by identity, never
/// freed while the process lives: whoever holds a pointer may always use it. A device that comes
/// back after its departure is a new record.
struct am_device;  // NOLINT(readability-identifier-naming): the platform's word
using AMDeviceRef = am_device*;

/// Message codes of a device notification.
enum AMDeviceMessage : std::uint32_t { kAMDeviceConnected = 1, kAMDeviceDisconnected = 2 };

/// What a device notification carries.
struct AMDeviceNotificationInfo {
    AMDeviceRef device = nullptr;
    std::uint32_t message = 0;  ///< an `AMDeviceMessage`, or a value not known here
};

using AMDeviceNotificationCallback = void (*)(AMDeviceNotificationInfo* info, void* userData);

/// Devices: notices of their coming and going, pairing, sessions, values, services.
///
/// Return codes: 0 is success, any other value failure; `AMDeviceIsPaired` answers 1 for yes.
/// Threads: any; on the main thread a call is a long wait (`RunLoop.h`). Each call is bounded by
/// the 30 seconds of `AFC.h` for every question that it puts to the device, and ends at once when
/// the device leaves. After a failure the device may be asked again; nothing is left half open that
/// the next `AMDeviceDisconnect` does not end.
class MobileDevice {
public:
    virtual ~MobileDevice() = default;

    /// Notices begin, on the main thread: message 1 for each device that is attached and trusted,
    /// now and later; message 2 when one leaves after its message 1. `unused1`, `unused2` are 0.
    /// The subscription lasts as long as the process.
    virtual int AMDeviceNotificationSubscribe(AMDeviceNotificationCallback callback,
                                              std::uint32_t unused1, std::uint32_t unused2,
                                              void* userData, std::uint64_t* subscription) = 0;

    /// What the platform keeps about a device that was told of; the same for the life of the
    /// process. Does not ask the device. All zero for null. Main thread.
    virtual const AMDeviceRecord& AMDeviceGetRecord(AMDeviceRef device) = 0;

    virtual int AMDeviceConnect(AMDeviceRef device) = 0;
    /// 1 when this computer holds a pairing record for the device.
    virtual int AMDeviceIsPaired(AMDeviceRef device) = 0;
    /// 0 when the device still trusts that record.
    virtual int AMDeviceValidatePairing(AMDeviceRef device) = 0;
    virtual int AMDeviceStartSession(AMDeviceRef device) = 0;
    virtual int AMDeviceStopSession(AMDeviceRef device) = 0;
    virtual int AMDeviceDisconnect(AMDeviceRef device) = 0;

    /// A lockdown value of the global domain (`domain` none) or of a named one; none when the
    /// device does not report the key.
    virtual std::optional<PropertyValue> AMDeviceCopyValue(AMDeviceRef device,
                                                           const std::optional<std::string>& domain,
                                                           const std::string& key) = 0;

    /// Starts a named service ("com.apple.afc", "com.apple.afc2") in the device's session.
    virtual int AMDeviceStartService(AMDeviceRef device, const std::string& service,
                                     AFCConnectionRef* handle, void* unused) = 0;
    /// Starts the file service of one application's area. Where the device refuses the whole
    /// container, the application's documents are opened on a new connection instead; "/" of that
    /// connection then lists "Documents" and has file information.
    virtual int AMDeviceStartHouseArrestService(AMDeviceRef device,
                                                const std::string& bundleIdentifier, void* options,
                                                AFCConnectionRef* handle, void* unused) = 0;
    /// Installed applications: bundle identifier to attribute dictionary ("ApplicationType",
    /// "UIFileSharingEnabled", "CFBundleDisplayName", "CFBundleIconFile" among the attributes).
    virtual int AMDeviceLookupApplications(AMDeviceRef device, const PropertyDictionary& options,
                                           std::optional<PropertyDictionary>* applications) = 0;
};

}  // namespace quillbox
