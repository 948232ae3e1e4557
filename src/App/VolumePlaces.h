// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/VolumeJournal.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/NotificationCenter.h"
#include "Core/Platform/RunLoop.h"
#include "Linux/Desktop/Places.h"

#include <memory>
#include <optional>

namespace quillbox::app {

/// Keeps the volumes that are mounted among the desktop's places. Main thread; within the life of
/// the journal that knows them.
class VolumePlaces {
public:
    VolumePlaces(RunLoop& loop, NotificationCenter& notifications, Log& log,
                 const std::shared_ptr<const MountedPaths>& mounted);
    ~VolumePlaces();

    /// Takes all of them out, at an end that comes without the destructor.
    void clear();

    VolumePlaces(const VolumePlaces&) = delete;
    VolumePlaces& operator=(const VolumePlaces&) = delete;

private:
    NotificationCenter& notifications_;
    /// Shared with posted tasks, which may outlive this and find it empty then.
    const std::shared_ptr<std::optional<desktop::Places>> places_;
};

}  // namespace quillbox::app
