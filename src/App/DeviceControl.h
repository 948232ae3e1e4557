// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/VolumeJournal.h"
#include "Core/Platform/NotificationCenter.h"
#include "Core/Platform/RunLoop.h"
#include "Linux/Control/ProgramControl.h"
#include "Linux/Device/DeviceLibrary.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace quillbox {

class iPodDevice;

namespace app {

/// What verbs do to the devices of the core: they choose the items of the device's menu, and know
/// from the volumes' notices when it is so. Main thread, within the life of the core's shared
/// state.
class DeviceControl final : public control::ProgramControl {
public:
    DeviceControl(RunLoop& loop, NotificationCenter& notifications, const DeviceLibrary& library,
                  std::shared_ptr<const MountedPaths> mounted,
                  std::vector<std::string> startOptions);
    ~DeviceControl() override;
    DeviceControl(const DeviceControl&) = delete;
    DeviceControl& operator=(const DeviceControl&) = delete;

    /// How the program comes to the user's sight; without one it has no display.
    void setRaise(std::function<void()> raise) { raise_ = std::move(raise); }

    std::vector<control::DeviceView> devices() override;
    void mount(const std::string& device, Done done) override;
    void unmount(const std::string& device, Done done) override;
    std::vector<control::RootView> roots(const std::string& device) override;
    void changeRoot(const std::string& device, std::int32_t tag, Done done) override;
    std::vector<control::DeviceFact> information(const std::string& device) override;
    void reveal(const std::string& device) override;
    bool raise() override;

    std::vector<std::string> startOptions() override { return startOptions_; }

private:
    /// Somebody waits until a device is mounted, or is not.
    struct Wish {
        std::weak_ptr<iPodDevice> device;
        bool isMounted = false;
        Done done;
    };

    std::shared_ptr<iPodDevice> find(const std::string& uniqueDeviceID) const;
    void await(const std::shared_ptr<iPodDevice>& device, bool isMounted, Done done);
    void mountFailed(const Notification& notification);
    void checkSoon();
    void check();
    bool isMounted(const iPodDevice& device) const;

    RunLoop& loop_;
    NotificationCenter& notifications_;
    const DeviceLibrary& library_;
    const std::shared_ptr<const MountedPaths> mounted_;
    const std::vector<std::string> startOptions_;
    std::function<void()> raise_;
    std::list<Wish> wishes_;
    /// Ends with this object: what was posted to the loop by then does nothing any more.
    const std::shared_ptr<DeviceControl*> self_ = std::make_shared<DeviceControl*>(this);
};

}  // namespace app

}  // namespace quillbox
