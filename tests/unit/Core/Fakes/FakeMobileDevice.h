// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CallRecord.h"
#include "Core/Platform/MobileDevice.h"
#include "FakeAFC.h"

#include <set>
#include <string>

namespace quillbox {

/// A device of the tests: what it answers.
struct am_device {
    PropertyDictionary values;
    PropertyDictionary applications;
    std::set<std::string> services{"com.apple.afc"};  ///< house arrest is always offered
    AMDeviceRecord record{};
};

namespace fakes {

/// Devices that answer from their records; any call can be made to fail through the call record.
/// Main thread of the test.
class FakeMobileDevice final : public MobileDevice {
public:
    FakeMobileDevice(CallRecord& record, FakeAFC& afc) : record_(record), afc_(afc) {}

    /// Gives a notice to whoever subscribed.
    void announce(AMDeviceRef device, std::uint32_t message) {
        AMDeviceNotificationInfo info{device, message};
        callback_(&info, userData_);
    }

    int AMDeviceNotificationSubscribe(AMDeviceNotificationCallback callback, std::uint32_t unused1,
                                      std::uint32_t unused2, void* userData,
                                      std::uint64_t* subscription) override {
        record_.add("AMDeviceNotificationSubscribe " + std::to_string(unused1) + " " +
                    std::to_string(unused2) + (userData == nullptr ? " null" : " data"));
        if (const int status = static_cast<int>(record_.statusOf("AMDeviceNotificationSubscribe"));
            status != 0) {
            return status;
        }
        callback_ = callback;
        userData_ = userData;
        *subscription = 1;
        return 0;
    }

    const AMDeviceRecord& AMDeviceGetRecord(AMDeviceRef device) override {
        static const AMDeviceRecord kNone;
        return device != nullptr ? device->record : kNone;
    }

    int AMDeviceConnect(AMDeviceRef /*device*/) override { return enter("AMDeviceConnect"); }

    /// A scripted status stands for the answer itself.
    int AMDeviceIsPaired(AMDeviceRef /*device*/) override {
        const int scripted = enter("AMDeviceIsPaired");
        return scripted == 0 ? 1 : (scripted == kNotPaired ? 0 : scripted);
    }

    /// Scripts the answer 0 of the pairing question.
    static constexpr int kNotPaired = 999;

    int AMDeviceValidatePairing(AMDeviceRef /*device*/) override {
        return enter("AMDeviceValidatePairing");
    }

    int AMDeviceStartSession(AMDeviceRef /*device*/) override {
        return enter("AMDeviceStartSession");
    }

    int AMDeviceStopSession(AMDeviceRef /*device*/) override {
        return enter("AMDeviceStopSession");
    }

    int AMDeviceDisconnect(AMDeviceRef /*device*/) override { return enter("AMDeviceDisconnect"); }

    std::optional<PropertyValue> AMDeviceCopyValue(AMDeviceRef device,
                                                   const std::optional<std::string>& domain,
                                                   const std::string& key) override {
        enter("AMDeviceCopyValue", (domain ? *domain + " " : "") + key);
        const auto* value = find(device->values, key);
        return value != nullptr ? std::optional(*value) : std::nullopt;
    }

    int AMDeviceStartService(AMDeviceRef device, const std::string& service,
                             AFCConnectionRef* handle, void* /*unused*/) override {
        if (const int status = enter("AMDeviceStartService", service); status != 0) {
            return status;
        }
        if (!device->services.contains(service)) {
            return 7;
        }
        if (startsNothing) {
            return 0;
        }
        *handle = afc_.startService(service == "com.apple.afc2" ? "Root" : "Media");
        return 0;
    }

    int AMDeviceStartHouseArrestService(AMDeviceRef /*device*/, const std::string& bundleIdentifier,
                                        void* /*options*/, AFCConnectionRef* handle,
                                        void* /*unused*/) override {
        if (const int status = enter("AMDeviceStartHouseArrestService", bundleIdentifier);
            status != 0) {
            return status;
        }
        *handle = afc_.startService(bundleIdentifier);
        return 0;
    }

    int AMDeviceLookupApplications(AMDeviceRef device, const PropertyDictionary& options,
                                   std::optional<PropertyDictionary>* applications) override {
        const std::string size = std::to_string(options.size());
        if (const int status = enter("AMDeviceLookupApplications", size); status != 0) {
            return status;
        }
        *applications = device->applications;
        return 0;
    }

    /// Services start with success and without a number.
    bool startsNothing = false;

private:
    int enter(const std::string& kind, const std::string& arguments = {}) {
        record_.add(arguments.empty() ? kind : kind + " " + arguments);
        return static_cast<int>(record_.statusOf(kind));
    }

    CallRecord& record_;
    FakeAFC& afc_;
    AMDeviceNotificationCallback callback_ = nullptr;
    void* userData_ = nullptr;
};

}  // namespace fakes
}  // namespace quillbox
