// SPDX-License-Identifier: GPL-3.0-or-later
// What the shared state asks of all its devices.
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/iPodDevice.h"

#include <algorithm>

namespace quillbox {

bool CommonData::allDevicesAreUnmounted() const {
    const auto devices = connectedDevices();
    return std::none_of(devices.begin(), devices.end(),
                        [](const auto& device) { return device->isMounted(); });
}

void CommonData::revealInFinder() const {
    for (const auto& device : connectedDevices()) {
        if (device->isMounted()) {
            device->revealInFinder();
        }
    }
}

void CommonData::disconnectAllDevices() const {
    for (const auto& device : connectedDevices()) {
        device->stopMount();
    }
}

}  // namespace quillbox
