// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/VolumeJournal.h"
#include "Core/Platform/NotificationCenter.h"
#include "Linux/Desktop/Desktop.h"
#include "Linux/Host/MainLoop.h"
#include "Linux/Volume/FuseUserFileSystems.h"

#include <memory>
#include <optional>
#include <set>
#include <string>

namespace quillbox::app {

/// Says at "Unmount Device" and in the tool tip which volumes are still being written to, and in
/// the tool tip which have lost their root. Looks once a second, as long as there is a volume. Main
/// thread; within the life of the shared state of the core.
class VolumeNotices {
public:
    VolumeNotices(desktop::Desktop& desktop, host::MainLoop& loop,
                  NotificationCenter& notifications, const FuseUserFileSystems& volumes,
                  std::shared_ptr<const MountedPaths> mounted);
    ~VolumeNotices();
    VolumeNotices(const VolumeNotices&) = delete;
    VolumeNotices& operator=(const VolumeNotices&) = delete;

private:
    void look();

    desktop::Desktop& desktop_;
    host::MainLoop& loop_;
    NotificationCenter& notifications_;
    const FuseUserFileSystems& volumes_;
    const std::shared_ptr<const MountedPaths> mounted_;
    std::optional<host::MainLoop::TimerId> next_;
    std::set<const void*> told_;  ///< devices, by identity
};

}  // namespace quillbox::app
