// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/AFC/AFCFactory.h"

#include "Core/AFC/NSException.h"

#include <stdexcept>
#include <string>

namespace quillbox {

namespace {

const AFCPlatform* g_factoryPlatform = nullptr;
std::unique_ptr<AFCFactory> g_sharedFactory;

}  // namespace

void notify_callback(AMDeviceNotificationInfo* info, void* userData) {
    static_cast<const AFCFactory*>(userData)->notify(*info);
}

void AFCFactory::setPlatform(const AFCPlatform& platform) {
    g_factoryPlatform = &platform;
}

AFCFactory& AFCFactory::factory() {
    return init();
}

AFCFactory& AFCFactory::init() {
    if (!g_sharedFactory) {
        if (g_factoryPlatform == nullptr) {
            throw std::logic_error("The factory has no platform.");
        }
        auto made = std::make_unique<AFCFactory>(Key{}, *g_factoryPlatform);
        std::uint64_t subscription = 0;
        const int error = g_factoryPlatform->devices.AMDeviceNotificationSubscribe(
            notify_callback, 0, 0, made.get(), &subscription);
        if (error != 0) {
            throw NSException("AFCFactory", "AMDeviceNotificationSubscribe failed with error " +
                                                std::to_string(error));
        }
        g_sharedFactory = std::move(made);
    }
    return *g_sharedFactory;
}

void AFCFactory::resetFactory() {
    g_sharedFactory.reset();
    g_factoryPlatform = nullptr;
}

AFCFactory::AFCFactory(Key /*key*/, const AFCPlatform& platform) : platform_(platform) {}

void AFCFactory::notify(const AMDeviceNotificationInfo& info) const {
    if (info.message == kAMDeviceConnected) {
        if (const auto delegate = delegate_) {
            delegate->AFCDeviceWasConnected(std::make_shared<AFCDeviceRef>(platform_, info.device));
        }
    } else if (info.message == kAMDeviceDisconnected) {
        Notification notice;
        notice.name = AFC_DeviceWasDisconnected;
        notice.number = AFCDeviceRef(platform_, info.device).deviceID();
        platform_.notifications.post(notice);
    }
}

}  // namespace quillbox
