// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/NotificationCenter.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::app {

/// Where volumes are mounted at this moment. Any thread.
class MountedPaths {
public:
    std::vector<std::string> list() const;
    /// Where this volume is mounted; empty where it is not.
    std::string pathOf(const void* volume) const;
    void add(const void* volume, const std::string& path);
    /// The path that was added for this volume; empty when there was none.
    std::string remove(const void* volume);

private:
    mutable std::mutex mutex_;
    std::map<const void*, std::string> paths_;
};

/// Tells in the log which volume is mounted where, and keeps the list of those that are. Lives
/// on the main thread, within the life of the shared state of the core.
class VolumeJournal {
public:
    VolumeJournal(NotificationCenter& notifications, Log& log,
                  std::shared_ptr<MountedPaths> mounted);
    ~VolumeJournal();
    VolumeJournal(const VolumeJournal&) = delete;
    VolumeJournal& operator=(const VolumeJournal&) = delete;

private:
    void didMount(const Notification& notification);
    void didUnmount(const Notification& notification);

    NotificationCenter& notifications_;
    Log& log_;
    const std::shared_ptr<MountedPaths> mounted_;
};

}  // namespace quillbox::app
