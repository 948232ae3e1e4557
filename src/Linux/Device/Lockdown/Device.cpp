// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/Device.h"

#include "Linux/Device/Lockdown/LibraryStart.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace quillbox::device {

Device::Device(std::string udid, std::shared_ptr<PlatformLink> platform,
               const DeviceOptions& options)
    : udid_{std::move(udid)},
      platform_{std::move(platform)},
      options_{options},
      lockdown_{std::make_unique<LockdownLink>(*this)} {}

Device::~Device() = default;

std::string Device::label() const {
    const std::lock_guard lock{mutex_};
    if (serialNumber_.empty()) {
        return (name_.empty() ? "Device" : name_) + " (identifier " + udid_ + ")";
    }
    return (name_.empty() ? "Device" : name_) + " (serial number " + serialNumber_ + ")";
}

std::string Device::name() const {
    const std::lock_guard lock{mutex_};
    return name_.empty() ? "the device" : name_;
}

std::string Device::knownName() const {
    const std::lock_guard lock{mutex_};
    return name_;
}

std::string Device::knownSerialNumber() const {
    const std::lock_guard lock{mutex_};
    return serialNumber_;
}

void Device::setName(const std::string& name, const std::string& serialNumber) {
    const std::lock_guard lock{mutex_};
    if (!name.empty()) {
        name_ = name;
    }
    if (!serialNumber.empty()) {
        serialNumber_ = serialNumber;
    }
}

std::string Device::serialNumber() const {
    const std::lock_guard lock{mutex_};
    return serialNumber_.empty() ? udid_ : serialNumber_;
}

std::shared_ptr<DeviceHandle> Device::handle(Failure& failure) {
    {
        const std::lock_guard lock{mutex_};
        if (handle_) {
            return handle_;
        }
    }
    // Not under the lock: the multiplexer is asked, and departure must not wait for its answer.
    idevice_t made = nullptr;
    const auto both = static_cast<idevice_options>(IDEVICE_LOOKUP_USBMUX | IDEVICE_LOOKUP_NETWORK);
    startLibrary();
    if (idevice_new_with_options(&made, udid_.c_str(), both) != IDEVICE_E_SUCCESS) {
        failure = {FailureKind::NotReachable, "the device service does not list the device"};
        return nullptr;
    }
    auto handle = std::make_shared<DeviceHandle>(made);
    const std::lock_guard lock{mutex_};
    handle_ = handle;
    return handle;
}

Failure Device::connect(std::uint16_t port, std::chrono::milliseconds noProgress,
                        std::unique_ptr<ServiceConnection>& connection) {
    if (!attached_) {
        return {FailureKind::NotAttached, "the device has left"};
    }
    Failure failure;
    const auto handle = this->handle(failure);
    if (!handle) {
        return failure;
    }
    idevice_connection_t opened = nullptr;
    int descriptor = -1;
    if (idevice_connect(handle->get(), port, &opened) != IDEVICE_E_SUCCESS) {
        // The number may be an old one: the next try asks for the list again.
        pathChanged();
        return {FailureKind::NotReachable, "the device refused a connection"};
    }
    if (idevice_connection_get_fd(opened, &descriptor) != IDEVICE_E_SUCCESS) {
        idevice_disconnect(opened);
        return {FailureKind::NotReachable, "the connection has no descriptor"};
    }
    auto breaker = std::make_shared<SocketBreaker>();
    connection = std::make_unique<ServiceConnection>(opened, descriptor, breaker, noProgress);
    const std::lock_guard lock{mutex_};
    std::erase_if(sockets_, [](const auto& socket) { return socket.expired(); });
    sockets_.push_back(breaker);
    if (!attached_) {
        // It left while the connection was being made: nobody else will break this one.
        breaker->breakNow();
    }
    return {};
}

void Device::leave() {
    attached_ = false;
    breakConnections();
}

void Device::breakConnections() {
    const std::lock_guard lock{mutex_};
    for (const auto& socket : sockets_) {
        if (const auto breaker = socket.lock()) {
            breaker->breakNow();
        }
    }
    sockets_.clear();
}

void Device::pathChanged() {
    const std::lock_guard lock{mutex_};
    handle_.reset();
}

bool Device::hasLiveConnection() {
    const std::lock_guard lock{mutex_};
    return std::any_of(sockets_.begin(), sockets_.end(), [](const auto& socket) {
        const auto breaker = socket.lock();
        return breaker && breaker->isOpen();
    });
}

void Device::noteLoss() {
    const std::lock_guard lock{mutex_};
    if (lostSince_ == Clock::time_point{}) {
        lostSince_ = Clock::now();
    }
}

void Device::noteReached() {
    const std::lock_guard lock{mutex_};
    lostSince_ = {};
}

std::chrono::milliseconds Device::unreachableFor() const {
    const std::lock_guard lock{mutex_};
    if (lostSince_ == Clock::time_point{}) {
        return {};
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - lostSince_);
}

}  // namespace quillbox::device
