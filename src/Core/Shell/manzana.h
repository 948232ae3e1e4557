// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/MobileDevice.h"

#include <cstdint>
#include <memory>

namespace quillbox {

class PodPhone;

/// Forwards a device notice to `manzana::handleCallBackData`. Main thread.
void PhoneListenerNoteCallback(AMDeviceNotificationInfo* info, void* userData);

/// The listener: turns the coming and going of devices into volumes. Works on the platform of
/// `CommonData`. Main thread.
class manzana {
public:
    /// Begins to listen, for the life of the process. Once.
    static void initIPhoneListener();
    /// 1: opens a session and, when that works, makes the device and asks for its mount. 2: takes
    /// the device away. Any other message is logged and ignored.
    static void handleCallBackData(AMDeviceRef device, std::uint32_t message);
    /// The session of the connected device with this very handle, or null.
    static std::shared_ptr<PodPhone> podPhoneForDeviceID(AMDeviceRef device);

private:
    static void connected(AMDeviceRef device);
    static void disconnected(AMDeviceRef device);
};

}  // namespace quillbox
