// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/TrustState.h"

namespace quillbox {

std::string_view describe(DeviceTrustState state) {
    switch (state) {
    case DeviceTrustState::Unknown:
        return "it has not been asked yet";
    case DeviceTrustState::Trusted:
        return "it trusts this computer";
    case DeviceTrustState::DialogPending:
        return "it does not trust this computer yet: unlock the device and tap Trust";
    case DeviceTrustState::Locked:
        return "it is locked: unlock the device";
    case DeviceTrustState::Denied:
        return "trust was refused on the device: unplug, plug in again and tap Trust";
    case DeviceTrustState::TrustReset:
        return "trust was reset: unplug, plug in and tap Trust";
    case DeviceTrustState::NotUnlockedSinceStart:
        return "it is locked since its start: unlock the device once after its restart";
    case DeviceTrustState::Silent:
        return "it is attached and does not answer: it is tried again";
    case DeviceTrustState::Refused:
        return "it refused to be paired: unplug, plug in again and tap Trust";
    case DeviceTrustState::Gone:
        return "it is not attached any more";
    }
    return "its state is unknown";
}

}  // namespace quillbox
