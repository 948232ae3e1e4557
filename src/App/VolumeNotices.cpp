// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/VolumeNotices.h"

#include "Core/Platform/UserFileSystem.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/iPodDevice.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quillbox::app {

namespace {

constexpr std::chrono::seconds kPause{1};

}  // namespace

VolumeNotices::VolumeNotices(desktop::Desktop& desktop, host::MainLoop& loop,
                             NotificationCenter& notifications, const FuseUserFileSystems& volumes,
                             std::shared_ptr<const MountedPaths> mounted)
    : desktop_(desktop),
      loop_(loop),
      notifications_(notifications),
      volumes_(volumes),
      mounted_(std::move(mounted)) {
    notifications_.addObserver(this, kGMUserFileSystemDidMount, [this](const Notification&) {
        if (!next_) {
            next_ = loop_.addTimer(kPause, [this] { look(); });
        }
    });
}

VolumeNotices::~VolumeNotices() {
    notifications_.removeObserver(this);
    if (next_) {
        loop_.cancelTimer(*next_);
    }
}

void VolumeNotices::look() {
    const auto busy = volumes_.writtenPaths();
    std::set<const void*> still;
    for (const auto& device : CommonData::sharedInstance().connectedDevices()) {
        if (!device->submi_stopMount()) {
            continue;  // it is arriving: a timer within that wait finds it without its menu
        }
        const bool isBusy =
            std::find(busy.begin(), busy.end(), device->myMountPath()) != busy.end();
        device->submi_stopMount()->setTitle(isBusy ? "Unmount Device (still writing)"
                                                   : "Unmount Device");
        // Of a volume that was taken away there is nothing to choose, and nothing to tell.
        const bool hasFailed = device->isMounted() && !device->failedRoot().empty();
        std::string state;
        if (hasFailed) {
            state = "the root " + device->failedRoot() +
                    " could not be opened: choose a connection root again";
        } else if (isBusy) {
            state = "data is still being written";
        }
        if (!state.empty()) {
            desktop_.showDeviceState(device.get(), device->mi_deviceMenu()->title(), state,
                                     hasFailed);
            told_.erase(device.get());
            still.insert(device.get());
        }
    }
    for (const void* ended : std::exchange(told_, std::move(still))) {
        desktop_.showDeviceState(ended, "", "", false);
    }
    next_.reset();
    if (!mounted_->list().empty() || !told_.empty()) {
        next_ = loop_.addTimer(kPause, [this] { look(); });
    }
}

}  // namespace quillbox::app
