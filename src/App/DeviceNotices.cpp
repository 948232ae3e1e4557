// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/DeviceNotices.h"

namespace quillbox::app {

namespace {

/// Whether the user can do something about a state.
bool needsUser(DeviceTrustState state) {
    switch (state) {
    case DeviceTrustState::DialogPending:
    case DeviceTrustState::Locked:
    case DeviceTrustState::Denied:
    case DeviceTrustState::TrustReset:
    case DeviceTrustState::NotUnlockedSinceStart:
    case DeviceTrustState::Refused:
        return true;
    default:
        return false;
    }
}

bool isOrdinary(DeviceTrustState state) {
    return state == DeviceTrustState::Unknown || state == DeviceTrustState::Trusted ||
           state == DeviceTrustState::Gone;
}

}  // namespace

DeviceLibrary::TrustObserver DeviceNotices::observer() {
    return [self = self_, &loop = loop_](AMDeviceRef device, DeviceTrustState state) {
        loop.post([self, device, name = DeviceLibrary::label(device), state] {
            if (*self != nullptr) {
                (*self)->show(device, name, state);
            }
        });
    };
}

void DeviceNotices::show(AMDeviceRef device, const std::string& name, DeviceTrustState state) {
    desktop_.showDeviceState(device, name, isOrdinary(state) ? "" : std::string(describe(state)),
                             needsUser(state));
}

}  // namespace quillbox::app
