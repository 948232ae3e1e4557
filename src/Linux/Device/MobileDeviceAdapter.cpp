// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/MobileDeviceAdapter.h"

#include "Linux/Device/Lockdown/InstallationProxy.h"
#include "Linux/Device/Lockdown/MainThreadCall.h"
#include "Linux/Device/Lockdown/PairingRecord.h"

#include <utility>

namespace quillbox::device {

namespace {

constexpr int kNotAttached = static_cast<int>(FailureKind::NotAttached);
constexpr int kPaired = 1;

/// Whether a device without this service is an everyday one.
bool isOptional(const FileService& service) {
    return service.isApplication() || service.service != "com.apple.afc";
}

void logFailure(Device& device, const FileService& service, const Failure& failure) {
    if (!device.isAttached()) {
        return;
    }
    const std::string line =
        device.label() + ": " + service.describe() + " could not be opened: " + failure.text;
    if (failure.kind == FailureKind::ServiceNotOffered && isOptional(service)) {
        device.platform().debug(line + ".");
    } else if (isLocked(failure.kind)) {
        device.platform().warning(line + ". Unlock the device.");
    } else {
        device.platform().warning(line + ".");
    }
}

}  // namespace

template <typename Work>
int MobileDeviceAdapter::ask(AMDeviceRef record, Work work) {
    if (record == nullptr) {
        return kNotAttached;
    }
    const std::shared_ptr<Device> device = record->device;
    const auto result = callOffMainThread(
        hub_->workers(), device, [device, work = std::move(work)]() mutable -> FailureKind {
            return Failure{work(*device)}.kind;
        });
    const FailureKind kind = result.value_or(FailureKind::NotAttached);
    if (kind != FailureKind::None) {
        device->noteFailure(kind);
    }
    return static_cast<int>(kind);
}

int MobileDeviceAdapter::AMDeviceNotificationSubscribe(AMDeviceNotificationCallback callback,
                                                       std::uint32_t /*unused1*/,
                                                       std::uint32_t /*unused2*/, void* userData,
                                                       std::uint64_t* subscription) {
    if (callback == nullptr) {
        return static_cast<int>(FailureKind::Refused);
    }
    const std::uint64_t id = hub_->subscribe(callback, userData);
    if (subscription != nullptr) {
        *subscription = id;
    }
    onSubscribe_();
    return 0;
}

const AMDeviceRecord& MobileDeviceAdapter::AMDeviceGetRecord(AMDeviceRef device) {
    static const AMDeviceRecord kNone;
    if (device == nullptr) {
        return kNone;
    }
    if (device->record.serialNumber == nullptr) {
        device->serialNumber = device->device->serialNumber();
        device->record.deviceID = device->device->number;
        device->record.productID = device->device->productId;
        device->record.serialNumber = device->serialNumber.c_str();
    }
    return device->record;
}

int MobileDeviceAdapter::AMDeviceConnect(AMDeviceRef device) {
    return ask(device, [](Device& used) {
        return used.lockdown().ensureConnected(used.options().noProgress);
    });
}

int MobileDeviceAdapter::AMDeviceIsPaired(AMDeviceRef device) {
    const int result = ask(device, [](Device& used) -> Failure {
        if (used.lockdown().hasSession()) {
            return {};
        }
        PairingRecord record;
        return readPairingRecord(used.udid(), record);
    });
    return result == 0 ? kPaired : 0;
}

int MobileDeviceAdapter::AMDeviceValidatePairing(AMDeviceRef device) {
    // Opening a session is the test that every device knows; the session is used by what follows.
    return AMDeviceStartSession(device);
}

int MobileDeviceAdapter::AMDeviceStartSession(AMDeviceRef device) {
    return ask(device, [](Device& used) {
        return used.lockdown().ensureSession(used.options().noProgress);
    });
}

int MobileDeviceAdapter::AMDeviceStopSession(AMDeviceRef device) {
    return ask(device,
               [](Device& used) { return used.lockdown().stopSession(used.options().noProgress); });
}

int MobileDeviceAdapter::AMDeviceDisconnect(AMDeviceRef device) {
    return ask(device, [](Device& used) -> Failure {
        used.lockdown().disconnect();
        return {};
    });
}

std::optional<PropertyValue>
MobileDeviceAdapter::AMDeviceCopyValue(AMDeviceRef device, const std::optional<std::string>& domain,
                                       const std::string& key) {
    auto value = std::make_shared<std::optional<PropertyValue>>();
    const int result = ask(device, [value, domain, key](Device& used) -> Failure {
        Failure failure = used.lockdown().getValue(domain, key, used.options().noProgress, *value);
        // A key that the device does not report says nothing about the device.
        return isLost(failure.kind) ? failure : Failure{};
    });
    return result == 0 ? std::move(*value) : std::nullopt;
}

int MobileDeviceAdapter::startFileService(AMDeviceRef record, const FileService& service,
                                          AFCConnectionRef* handle) {
    if (record == nullptr) {
        return kNotAttached;
    }
    const std::shared_ptr<Device> device = record->device;
    auto started = std::make_shared<ConnectionHandle>();
    started->connection = std::make_shared<AfcConnection>(
        device, service,
        [weak = std::weak_ptr{hub_}](const std::shared_ptr<AfcConnection>& connection) {
            if (const auto hub = weak.lock()) {
                hub->connectionLost(connection);
            }
        });
    const int result = ask(record, [started, service](Device& used) {
        Failure failure = started->connection->open();
        if (failure) {
            logFailure(used, service, failure);
        }
        return failure;
    });
    if (result != 0) {
        // Where the wait was ended it may still be opening: it must not stay open.
        started->connection->close();
        return result;
    }
    const AFCConnectionRef number = hub_->handles()->connections.add(started);
    if (!device->isAttached()) {
        hub_->handles()->connections.take(number);
        started->connection->close();
        return kNotAttached;
    }
    *handle = number;
    return 0;
}

int MobileDeviceAdapter::AMDeviceStartService(AMDeviceRef device, const std::string& service,
                                              AFCConnectionRef* handle, void* /*unused*/) {
    return startFileService(device, {service, {}, false}, handle);
}

int MobileDeviceAdapter::AMDeviceStartHouseArrestService(AMDeviceRef device,
                                                         const std::string& bundleIdentifier,
                                                         void* /*options*/,
                                                         AFCConnectionRef* handle,
                                                         void* /*unused*/) {
    return startFileService(device, {{}, bundleIdentifier, false}, handle);
}

int MobileDeviceAdapter::AMDeviceLookupApplications(
    AMDeviceRef device, const PropertyDictionary& options,
    std::optional<PropertyDictionary>* applications) {
    auto found = std::make_shared<PropertyDictionary>();
    const int result = ask(device, [found, options](Device& used) {
        Failure failure = lookupApplications(used, options, *found);
        if (failure && used.isAttached()) {
            used.platform().warning(
                used.label() + ": its applications could not be listed: " + failure.text + ".");
        }
        return failure;
    });
    if (result == 0) {
        *applications = std::move(*found);
    }
    return result;
}

}  // namespace quillbox::device
