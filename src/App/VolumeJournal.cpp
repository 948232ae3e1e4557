// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/VolumeJournal.h"

#include "Core/Platform/LogLine.h"
#include "Core/Platform/PathText.h"
#include "Core/Platform/UserFileSystem.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/iPodDevice.h"

#include <utility>

namespace quillbox::app {

std::vector<std::string> MountedPaths::list() const {
    const std::lock_guard guard(mutex_);
    std::vector<std::string> paths;
    for (const auto& [volume, path] : paths_) {
        paths.push_back(path);
    }
    return paths;
}

std::string MountedPaths::pathOf(const void* volume) const {
    const std::lock_guard guard(mutex_);
    const auto found = paths_.find(volume);
    return found == paths_.end() ? std::string() : found->second;
}

void MountedPaths::add(const void* volume, const std::string& path) {
    const std::lock_guard guard(mutex_);
    paths_.insert_or_assign(volume, path);
}

std::string MountedPaths::remove(const void* volume) {
    const std::lock_guard guard(mutex_);
    const auto found = paths_.find(volume);
    if (found == paths_.end()) {
        return {};
    }
    std::string path = std::move(found->second);
    paths_.erase(found);
    return path;
}

VolumeJournal::VolumeJournal(NotificationCenter& notifications, Log& log,
                             std::shared_ptr<MountedPaths> mounted)
    : notifications_(notifications), log_(log), mounted_(std::move(mounted)) {
    notifications_.addObserver(this, kGMUserFileSystemDidMount,
                               [this](const Notification& each) { didMount(each); });
    notifications_.addObserver(this, kGMUserFileSystemDidUnmount,
                               [this](const Notification& each) { didUnmount(each); });
}

VolumeJournal::~VolumeJournal() {
    notifications_.removeObserver(this);
}

void VolumeJournal::didMount(const Notification& notification) {
    for (const auto& device : CommonData::sharedInstance().connectedDevices()) {
        const void* volume = device->gmUserFileSys();
        if (volume == nullptr || volume != notification.object) {
            continue;
        }
        const std::string path = device->myMountPath();
        logLine(log_, LogLevel::Info, lastPathComponent(path), " is mounted at ", path, ".");
        mounted_->add(volume, path);
    }
}

void VolumeJournal::didUnmount(const Notification& notification) {
    if (const std::string path = mounted_->remove(notification.object); !path.empty()) {
        logLine(log_, LogLevel::Info, lastPathComponent(path), " is no longer mounted at ", path,
                ".");
    }
}

}  // namespace quillbox::app
