// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Shell/manzana.h"

#include "Core/Platform/LogLine.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/NotificationNames.h"
#include "Core/Volumes/iPodDevice.h"

namespace quillbox {

void PhoneListenerNoteCallback(AMDeviceNotificationInfo* info, void* /*userData*/) {
    manzana::handleCallBackData(info->device, info->message);
}

void manzana::initIPhoneListener() {
    // The subscription lasts until the process ends, so its handle is not kept.
    std::uint64_t subscription = 0;
    CommonData::sharedInstance().platform().devices.AMDeviceNotificationSubscribe(
        PhoneListenerNoteCallback, 0, 0, nullptr, &subscription);
}

void manzana::handleCallBackData(AMDeviceRef device, std::uint32_t message) {
    switch (message) {
    case kAMDeviceConnected:
        connected(device);
        break;
    case kAMDeviceDisconnected:
        disconnected(device);
        break;
    default:
        logLine(CommonData::sharedInstance().platform().log, LogLevel::Warning,
                "Unknown device connection notificaiton recieved.  Message = ",
                static_cast<std::int32_t>(message));
    }
}

void manzana::connected(AMDeviceRef device) {
    const Platform& platform = CommonData::sharedInstance().platform();
    logLine(platform.log, LogLevel::Info, "iPhone recognized.");
    const auto session = std::make_shared<PodPhone>(platform);
    if (session->initializePodPhone(device,
                                    platform.preferences.boolForKey(setting_allowsAFC2Access))) {
        iPodDevice::initWithIPhone(session)->startMount();
    }
}

void manzana::disconnected(AMDeviceRef device) {
    auto& common = CommonData::sharedInstance();
    const Platform& platform = common.platform();
    logLine(platform.log, LogLevel::Info, "iPhone disconnected.");
    const auto session = podPhoneForDeviceID(device);
    iPodDevice::removeConnectedDeviceFromCollection(session ? session->serialNumber()
                                                            : std::nullopt);
    if (!common.md_connectedDevices() && common.topMenu()) {
        // One place above the devices, and only without a collection; an empty one is not absent.
        common.topMenu()->insertItem(CommonData::makePlaceholderItem(), kDeviceMenuIndex - 1);
    }
    platform.notifications.post(
        Notification{std::string(iPhoneDisconnectedNotification), nullptr, {}});
}

std::shared_ptr<PodPhone> manzana::podPhoneForDeviceID(AMDeviceRef device) {
    for (const auto& each : CommonData::sharedInstance().connectedDevices()) {
        if (!each->isIPhone()) {
            continue;
        }
        auto session = each->iPhoneInterface();
        if (session && session->myDevice() == device) {
            return session;
        }
    }
    return nullptr;
}

}  // namespace quillbox
