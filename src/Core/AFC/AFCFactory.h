// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/AFC/AFCDeviceRef.h"
#include "Core/AFC/AFCPlatform.h"

#include <memory>
#include <string_view>

namespace quillbox {

/// Posted when a device has left, at once and on the thread that tells it; the number is its
/// `deviceID`.
inline constexpr std::string_view AFC_DeviceWasDisconnected = "AFC_DeviceWasDisconnected";

/// Who wants to know of arrivals.
class AFCFactoryDelegate {
public:
    virtual ~AFCFactoryDelegate() = default;

    virtual void AFCDeviceWasConnected(const std::shared_ptr<AFCDeviceRef>& /*device*/) {}
};

/// Hears of devices that come and go. One for the process. No locks: notices arrive on the thread
/// on which the platform delivers them.
class AFCFactory {
    struct Key {};

public:
    /// The platform of the one factory: before its first use, alive as long as it.
    static void setPlatform(const AFCPlatform& platform);
    /// The one factory, made by `init` at the first call.
    static AFCFactory& factory();
    /// The one factory; where there is none, subscribes and makes it. Throws `NSException`
    /// "AFCFactory" when the subscription fails (there is no factory then), and `std::logic_error`
    /// without a platform.
    static AFCFactory& init();
    /// Forgets factory and platform; for tests. A subscription cannot be ended, so the notices of
    /// the old platform must have ended too.
    static void resetFactory();

    /// Only through `init`.
    AFCFactory(Key key, const AFCPlatform& platform);
    AFCFactory(const AFCFactory&) = delete;
    AFCFactory& operator=(const AFCFactory&) = delete;

    /// 1: tells the delegate; 2: posts `AFC_DeviceWasDisconnected`; every other message is ignored.
    void notify(const AMDeviceNotificationInfo& info) const;

    const std::shared_ptr<AFCFactoryDelegate>& delegate() const { return delegate_; }

    void setDelegate(std::shared_ptr<AFCFactoryDelegate> delegate) {
        delegate_ = std::move(delegate);
    }

private:
    const AFCPlatform& platform_;
    std::shared_ptr<AFCFactoryDelegate> delegate_;
};

/// Forwards a notice to the factory that was given with the subscription.
void notify_callback(AMDeviceNotificationInfo* info, void* userData);

}  // namespace quillbox
