// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/DeviceHub.h"

#include <algorithm>
#include <utility>

namespace quillbox::device {

namespace {

/// A connection that ends because its device is pulled out ends a moment before the multiplexer
/// says so: then nothing is to be recovered.
constexpr std::chrono::milliseconds kBeforeRecovery{250};

}  // namespace

DeviceHub::DeviceHub(std::shared_ptr<PlatformLink> platform, const DeviceOptions& options)
    : platform_{std::move(platform)}, options_{options}, handles_{std::make_shared<Handles>()} {}

std::shared_ptr<DeviceHub::Arrival> DeviceHub::add(const std::string& udid) {
    const std::lock_guard lock{mutex_};
    if (stopped_) {
        return nullptr;
    }
    auto device = std::make_shared<Device>(udid, platform_, options_);
    if (next_.udid == udid) {
        device->number = next_.number;
        device->productId = next_.productId;
    }
    records_.push_back({device, {}, {}});
    device->record = &records_.back();
    auto arrival = std::make_shared<Arrival>(std::move(device));
    attached_[udid] = arrival;
    return arrival;
}

std::shared_ptr<DeviceHub::Arrival> DeviceHub::find(const std::string& udid) {
    const std::lock_guard lock{mutex_};
    const auto found = attached_.find(udid);
    return found == attached_.end() ? nullptr : found->second;
}

std::shared_ptr<DeviceHub::Arrival> DeviceHub::find(const Device& device) {
    auto arrival = find(device.udid());
    return arrival && arrival->device.get() == &device ? arrival : nullptr;
}

void DeviceHub::willArrive(const std::string& udid, std::uint32_t number, std::uint32_t productId) {
    next_ = {udid, number, productId};
}

void DeviceHub::arrived(const std::string& udid) {
    if (const auto arrival = add(udid)) {
        post(arrival);
    }
}

void DeviceHub::departed(const std::string& udid) {
    std::shared_ptr<Arrival> arrival;
    {
        const std::lock_guard lock{mutex_};
        const auto found = attached_.find(udid);
        if (found == attached_.end()) {
            return;
        }
        arrival = std::move(found->second);
        attached_.erase(found);
    }
    leave(arrival->device);
}

void DeviceHub::paired(const std::string& udid) {
    if (const auto arrival = find(udid)) {
        {
            const std::lock_guard lock{arrival->mutex};
            arrival->mayAsk = true;
        }
        post(arrival);
    }
}

void DeviceHub::pathChanged(const std::string& udid) {
    if (const auto arrival = find(udid)) {
        arrival->device->pathChanged();
        post(arrival);
    }
}

bool DeviceHub::hasLiveConnection(const std::string& udid) {
    const auto arrival = find(udid);
    return arrival && arrival->device->hasLiveConnection();
}

std::uint64_t DeviceHub::subscribe(AMDeviceNotificationCallback callback, void* userData) {
    const std::uint64_t id = nextHandle();
    subscribers_.push_back({id, callback, userData});
    const std::lock_guard lock{mutex_};
    for (const auto& [udid, arrival] : attached_) {
        if (arrival->device->announced) {
            platform_->post([self = shared_from_this(), device = arrival->device] {
                self->deliverConnected(device);
            });
        }
    }
    return id;
}

void DeviceHub::deliver(const Subscriber& subscriber, Device& device, std::uint32_t message) {
    AMDeviceNotificationInfo info{device.record, message};
    subscriber.callback(&info, subscriber.userData);
}

void DeviceHub::announce(const std::shared_ptr<Device>& device) {
    device->announced = true;
    platform_->post([self = shared_from_this(), device] {
        // Anew for everybody: an earlier announcement may have led to nothing.
        device->deliveredTo.clear();
        self->deliverConnected(device);
    });
}

void DeviceHub::deliverConnected(const std::shared_ptr<Device>& device) {
    if (!device->isAttached()) {
        return;
    }
    device->takeLastFailure();
    // By index: a subscriber may subscribe another one.
    for (std::size_t i = 0; i < subscribers_.size(); ++i) {
        const Subscriber subscriber = subscribers_[i];
        if (device->isAttached() && device->deliveredTo.insert(subscriber.id).second) {
            deliver(subscriber, *device, kAMDeviceConnected);
        }
    }
    if (const auto arrival = find(*device); arrival && device->isAttached()) {
        judgeArrival(*arrival);
    }
}

/// An arrival has failed when nobody who was told of it holds a file connection on the device
/// afterwards. What went wrong last decides what may help.
void DeviceHub::judgeArrival(Arrival& arrival) {
    Device& device = *arrival.device;
    const bool failed = !handles_->hasOpenConnection(device);
    const FailureKind kind = device.takeLastFailure();
    const bool probe = isLocked(kind) || isLost(kind);
    const bool untrusted = kind == FailureKind::TrustReset || kind == FailureKind::NoPairingRecord;
    {
        const std::lock_guard lock{arrival.mutex};
        arrival.failed = failed;
        arrival.probe = probe;
    }
    if (!failed) {
        return;
    }
    if (isLocked(kind)) {
        setState(arrival, DeviceTrustState::NotUnlockedSinceStart);
    }
    if (probe || untrusted) {
        if (const auto self = find(device)) {
            postAfter(self, options_.askAgain);
        }
    }
}

void DeviceHub::leave(const std::shared_ptr<Device>& device) {
    // Sockets first: whoever waits on the device wakes up now.
    device->leave();
    const auto ended = handles_->connections.takeIf(
        [&](const ConnectionHandle& handle) { return handle.connection->device() == device; });
    handles_->files.takeIf(
        [&](const FileHandle& file) { return file.connection->device() == device; });
    for (const auto& [number, handle] : ended) {
        handle->connection->close();
        if (handle->opened) {
            tellConnectionEnds(number, /*deviceGone=*/true);
        }
    }
    platform_->endWaits(device->record);
    tellTrust(*device, DeviceTrustState::Gone);
    if (!device->announced) {
        return;
    }
    platform_->post([self = shared_from_this(), device] {
        const auto told = std::exchange(device->deliveredTo, {});
        for (std::size_t i = 0; i < self->subscribers_.size(); ++i) {
            const Subscriber subscriber = self->subscribers_[i];
            if (told.contains(subscriber.id)) {
                self->deliver(subscriber, *device, kAMDeviceDisconnected);
            }
        }
    });
}

void DeviceHub::connectionCloses(AFCConnectionRef connection) {
    tellConnectionEnds(connection, /*deviceGone=*/false);
}

void DeviceHub::connectionLost(const std::shared_ptr<AfcConnection>& connection) {
    connection->device()->noteLoss();
    if (!connection->recovering.exchange(true)) {
        workers_.postAfter(kBeforeRecovery,
                           [self = shared_from_this(), connection] { self->recover(connection); });
    }
}

void DeviceHub::recover(const std::shared_ptr<AfcConnection>& connection) {
    const std::shared_ptr<Device>& device = connection->device();
    const Failure failure = connection->recover();
    if (!failure || failure.kind == FailureKind::NotAttached) {
        connection->recovering = false;
        return;
    }
    if (!isLost(failure.kind)) {
        // It answers, though with a refusal.
        device->noteReached();
    } else if (device->unreachableFor() >= options_.unreachable) {
        connection->recovering = false;
        unreachable(device);
        return;
    }
    workers_.postAfter(isLost(failure.kind) ? options_.reopenPause : options_.askAgain,
                       [self = shared_from_this(), connection] { self->recover(connection); });
}

void DeviceHub::unreachable(const std::shared_ptr<Device>& device) {
    {
        const std::lock_guard lock{mutex_};
        const auto found = attached_.find(device->udid());
        if (stopped_ || found == attached_.end() || found->second->device != device) {
            return;
        }
        attached_.erase(found);
    }
    platform_->warning(device->label() + ": it is attached but cannot be reached any more.");
    leave(device);
    arrived(device->udid());
}

void DeviceHub::setConnectionEnds(ConnectionEnds observer) {
    const std::lock_guard lock{mutex_};
    connectionEnds_ = std::make_shared<const ConnectionEnds>(std::move(observer));
}

void DeviceHub::setTrustObserver(TrustObserver observer) {
    const std::lock_guard lock{mutex_};
    trustObserver_ = std::make_shared<const TrustObserver>(std::move(observer));
}

std::vector<AttachedDevice> DeviceHub::attached() {
    std::vector<std::shared_ptr<Arrival>> arrivals;
    {
        const std::lock_guard lock{mutex_};
        for (const auto& [udid, arrival] : attached_) {
            arrivals.push_back(arrival);
        }
    }
    std::vector<AttachedDevice> devices;
    for (const auto& arrival : arrivals) {
        const std::lock_guard lock{arrival->mutex};
        Device& device = *arrival->device;
        devices.push_back({device.record, device.udid(), device.knownName(),
                           device.knownSerialNumber(), arrival->state});
    }
    return devices;
}

void DeviceHub::tellConnectionEnds(AFCConnectionRef connection, bool deviceGone) {
    std::shared_ptr<const ConnectionEnds> observer;
    {
        const std::lock_guard lock{mutex_};
        observer = stopped_ ? nullptr : connectionEnds_;
    }
    if (observer && *observer) {
        (*observer)(connection, deviceGone);
    }
}

void DeviceHub::stop() {
    std::map<std::string, std::shared_ptr<Arrival>> attached;
    {
        const std::lock_guard lock{mutex_};
        stopped_ = true;
        attached.swap(attached_);
    }
    for (const auto& [udid, arrival] : attached) {
        arrival->device->leave();
        platform_->endWaits(arrival->device->record);
    }
    if (!workers_.stop(options_.stop)) {
        platform_->warning("A thread is still waiting inside the device library; it is left "
                           "behind.");
    }
}

}  // namespace quillbox::device
