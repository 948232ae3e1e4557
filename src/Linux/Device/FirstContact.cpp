// SPDX-License-Identifier: GPL-3.0-or-later

// The part of the hub that meets a device before it is announced: is it there, does it trust this
// computer, can it be asked to.

#include "Linux/Device/DeviceHub.h"
#include "Linux/Device/Lockdown/Pairing.h"

#include <algorithm>
#include <utility>

namespace quillbox::device {

namespace {

bool waitsForPerson(DeviceTrustState state) {
    return state == DeviceTrustState::DialogPending || state == DeviceTrustState::Locked;
}

}  // namespace

void DeviceHub::post(const std::shared_ptr<Arrival>& arrival) {
    workers_.post([self = shared_from_this(), arrival] { self->contact(arrival); });
}

void DeviceHub::postAfter(const std::shared_ptr<Arrival>& arrival, Milliseconds pause) {
    {
        const std::lock_guard lock{arrival->mutex};
        if (std::exchange(arrival->scheduled, true)) {
            return;
        }
    }
    workers_.postAfter(pause, [self = shared_from_this(), arrival] {
        {
            const std::lock_guard lock{arrival->mutex};
            arrival->scheduled = false;
        }
        self->contact(arrival);
    });
}

void DeviceHub::contact(const std::shared_ptr<Arrival>& arrival) {
    {
        const std::lock_guard lock{arrival->mutex};
        if (arrival->contacting) {
            arrival->contactAgain = true;
            return;
        }
        arrival->contacting = true;
    }
    while (true) {
        const std::optional<Milliseconds> pause = tryContact(*arrival);
        {
            const std::lock_guard lock{arrival->mutex};
            if (std::exchange(arrival->contactAgain, false)) {
                continue;
            }
            arrival->contacting = false;
        }
        if (pause) {
            postAfter(arrival, *pause);
        }
        return;
    }
}

std::optional<DeviceHub::Milliseconds> DeviceHub::tryContact(Arrival& arrival) {
    Device& device = *arrival.device;
    bool failed = false;
    {
        const std::lock_guard lock{arrival.mutex};
        failed = arrival.failed;
    }
    if (!device.isAttached() || (device.announced && !failed)) {
        return std::nullopt;
    }
    const Failure failure = device.lockdown().ensureSession(options_.noProgress);
    if (!device.isAttached()) {
        return std::nullopt;
    }
    switch (failure.kind) {
    case FailureKind::None:
        return tryService(arrival);
    case FailureKind::NoPairingRecord:
    case FailureKind::TrustReset:
        return tryPairing(arrival, failure.kind);
    case FailureKind::DialogPending:
        setState(arrival, DeviceTrustState::DialogPending);
        break;
    case FailureKind::PasswordProtected:
        setState(arrival, DeviceTrustState::Locked);
        break;
    case FailureKind::Denied:
        setState(arrival, DeviceTrustState::Denied);
        return std::nullopt;
    case FailureKind::NotReachable:
    case FailureKind::NoAnswer:
        setState(arrival, DeviceTrustState::Silent, failure.text);
        break;
    default:
        setState(arrival, DeviceTrustState::Refused, failure.text);
        break;
    }
    return options_.askAgain;
}

std::optional<DeviceHub::Milliseconds> DeviceHub::tryService(Arrival& arrival) {
    bool probe = false;
    {
        const std::lock_guard lock{arrival.mutex};
        probe = arrival.failed && arrival.probe;
    }
    if (probe) {
        std::unique_ptr<ServiceConnection> connection;
        const Failure failure = arrival.device->lockdown().openService(
            "com.apple.afc", options_.noProgress, connection);
        if (isLocked(failure.kind)) {
            setState(arrival, DeviceTrustState::NotUnlockedSinceStart);
            return options_.askAgain;
        }
        if (failure) {
            return isLost(failure.kind) ? std::optional{options_.askAgain} : std::nullopt;
        }
    }
    {
        const std::lock_guard lock{arrival.mutex};
        arrival.failed = false;
        arrival.probe = false;
    }
    setState(arrival, DeviceTrustState::Trusted);
    announce(arrival.device);
    return std::nullopt;
}

std::optional<DeviceHub::Milliseconds> DeviceHub::tryPairing(Arrival& arrival, FailureKind reason) {
    DeviceTrustState state{};
    {
        const std::lock_guard lock{arrival.mutex};
        state = arrival.state;
        if (!arrival.mayAsk && !waitsForPerson(state)) {
            return std::nullopt;
        }
        const auto since = Clock::now() - arrival.lastAsked;
        if (arrival.lastAsked != Clock::time_point{} && since < options_.askAgain) {
            return std::chrono::ceil<Milliseconds>(options_.askAgain - since);
        }
        arrival.lastAsked = Clock::now();
        arrival.mayAsk = false;
    }
    if (reason == FailureKind::TrustReset && !waitsForPerson(state)) {
        setState(arrival, DeviceTrustState::TrustReset);
    }
    const Failure failure = askToPair(arrival.device->udid());
    if (!arrival.device->isAttached()) {
        return std::nullopt;
    }
    switch (failure.kind) {
    case FailureKind::None:
        return Milliseconds{0};  // now a session must open
    case FailureKind::DialogPending:
        setState(arrival, DeviceTrustState::DialogPending);
        return options_.askAgain;
    case FailureKind::PasswordProtected:
        setState(arrival, DeviceTrustState::Locked);
        return options_.askAgain;
    case FailureKind::Denied:
        setState(arrival, DeviceTrustState::Denied);
        return std::nullopt;
    case FailureKind::TrustReset:
        setState(arrival, DeviceTrustState::TrustReset);
        return std::nullopt;
    case FailureKind::NotReachable:
    case FailureKind::NoAnswer: {
        setState(arrival, DeviceTrustState::Silent, failure.text);
        const std::lock_guard lock{arrival.mutex};
        arrival.mayAsk = true;  // it did not hear the question
        return options_.askAgain;
    }
    default:
        setState(arrival, DeviceTrustState::Refused, failure.text);
        return std::nullopt;
    }
}

void DeviceHub::setState(Arrival& arrival, DeviceTrustState state, const std::string& detail) {
    {
        const std::lock_guard lock{arrival.mutex};
        if (std::exchange(arrival.state, state) == state) {
            return;
        }
    }
    Device& device = *arrival.device;
    if (!device.isAttached()) {
        return;
    }
    std::string line = device.label() + ": " + std::string{describe(state)};
    line += detail.empty() ? "." : " (" + detail + ").";
    if (state == DeviceTrustState::Trusted) {
        platform_->info(line);
    } else {
        platform_->warning(line);
    }
    tellTrust(device, state);
}

void DeviceHub::tellTrust(Device& device, DeviceTrustState state) {
    std::shared_ptr<const TrustObserver> observer;
    {
        const std::lock_guard lock{mutex_};
        observer = stopped_ ? nullptr : trustObserver_;
    }
    if (observer && *observer) {
        (*observer)(device.record, state);
    }
}

}  // namespace quillbox::device
