// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/VolumeCollection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <thread>

namespace quillbox::volume {
namespace {

// How long a volume whose device is gone goes on saying so, before its folder goes too.
constexpr auto kTombstoneTime = std::chrono::milliseconds(1200);
// How long what was written may take to reach the device before its connection ends.
constexpr auto kLastWritesTime = std::chrono::seconds(2);
// How long the end of a connection waits for a delegate call.
constexpr auto kCallTime = std::chrono::seconds(5);
// The end of everything: to detach, for programs to let go, and for the rest to be ended.
constexpr auto kDetachTime = std::chrono::milliseconds(1000);
constexpr auto kLetGoTime = std::chrono::milliseconds(300);
constexpr auto kAbortTime = std::chrono::milliseconds(700);

}  // namespace

VolumeCollection::VolumeCollection(RunLoop& loop, NotificationCenter& notifications, Log& log,
                                   BackingFactory backing)
    : main_(std::make_shared<MainThread>(loop, notifications, log)),
      backing_(std::move(backing)),
      caretaker_(std::make_unique<Caretaker>([this] { checkPresence(); })) {}

std::vector<std::shared_ptr<Volume>> VolumeCollection::all() const {
    const std::lock_guard lock(mutex_);
    return volumes_;
}

bool VolumeCollection::isTaken(const std::string& path) const {
    const auto volumes = all();
    return std::any_of(volumes.begin(), volumes.end(), [&](const auto& volume) {
        return volume->path() == path && volume->isInPlace() && !volume->isTombstone();
    });
}

void VolumeCollection::fail(const Wish& wish, int error) {
    NSError reason = NSError::errorWithDomain(NSPOSIXErrorDomain, error);
    reason.localizedDescription =
        "The volume could not be mounted at " + wish.path + ": " + std::strerror(error) + ".";
    main_->log(LogLevel::Error, reason.localizedDescription);
    main_->post([main = main_, subject = wish.subject, reason] {
        main->notify(Notification{std::string(kGMUserFileSystemMountFailed),
                                  subject->object,
                                  {{std::string(kGMUserFileSystemErrorKey), reason}}});
    });
}

std::shared_ptr<Volume> VolumeCollection::mount(const Wish& wish) {
    auto delegate = wish.delegate.lock();
    auto backing = delegate == nullptr || isClosed_ ? nullptr : backing_(wish.delegate);
    if (backing == nullptr) {
        fail(wish, ENODEV);
        return nullptr;
    }
    if (isTaken(wish.path)) {
        fail(wish, EBUSY);
        return nullptr;
    }
    const std::weak_ptr<VolumeCollection> self = weak_from_this();
    auto volume = std::make_shared<Volume>(Volume::Parts{
        .path = wish.path,
        .options = wish.options,
        .delegate = std::move(delegate),
        .backing = std::move(backing),
        .isThreadSafe = wish.isThreadSafe,
        .main = main_,
        .subject = wish.subject,
        .beforeMount =
            [self, path = wish.path] {
                if (const auto collection = self.lock()) {
                    collection->endTombstoneAt(path);
                }
            },
        .whenEnded =
            [self](const std::shared_ptr<Volume>& ended) {
                if (const auto collection = self.lock()) {
                    collection->hasEnded(ended);
                }
            },
        .later =
            [self](std::chrono::milliseconds pause, std::function<void()> work) {
                if (const auto collection = self.lock()) {
                    collection->later(pause, std::move(work));
                }
            },
        .leftFolders = leftFolders_,
    });
    {
        const std::lock_guard lock(mutex_);
        volumes_.push_back(volume);
    }
    volume->start();
    return volume;
}

void VolumeCollection::later(std::chrono::milliseconds pause, std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    if (caretaker_) {
        caretaker_->at(Caretaker::Clock::now() + pause, std::move(work));
    }
}

void VolumeCollection::hasEnded(const std::shared_ptr<Volume>& volume) {
    {
        const std::lock_guard lock(mutex_);
        std::erase(volumes_, volume);
    }
    volume->join();
}

void VolumeCollection::endTombstoneAt(const std::string& path) {
    for (const auto& volume : all()) {
        if (volume->path() == path && volume->isTombstone()) {
            volume->takeAway();
        }
    }
}

void VolumeCollection::checkPresence() {
    for (const auto& volume : all()) {
        volume->checkPresence();
    }
}

// In the background, since a device may never take it: then it is given up after a while.
void VolumeCollection::finishWrites(const std::vector<std::shared_ptr<Volume>>& volumes) {
    std::vector<std::future<void>> finished;
    for (const auto& volume : volumes) {
        if (volume->hasUnfinishedWrites()) {
            finished.push_back(volume->finishWritesInBackground());
        }
    }
    const auto deadline = std::chrono::steady_clock::now() + kLastWritesTime;
    for (auto& each : finished) {
        if (each.wait_until(deadline) != std::future_status::ready) {
            main_->log(LogLevel::Warning, "The device did not take what programs had written on a "
                                          "volume before its connection ended.");
        }
    }
}

void VolumeCollection::connectionEnds(AFCConnectionRef connection, bool deviceGone) {
    std::vector<std::shared_ptr<Volume>> volumes = all();
    std::erase_if(volumes, [&](const auto& volume) { return volume->connection() != connection; });
    if (!deviceGone) {
        finishWrites(volumes);
    }
    const auto now = std::chrono::steady_clock::now();
    for (const auto& volume : volumes) {
        volume->gate(deviceGone);
    }
    if (deviceGone) {
        for (const auto& volume : volumes) {
            later(kTombstoneTime, [volume] { volume->takeAway(); });
        }
    }
    for (const auto& volume : volumes) {
        if (!volume->waitUntilIdle(now + kCallTime)) {
            main_->log(LogLevel::Warning, "A request on the volume " + volume->path() +
                                              " has not come back although its connection ends.");
        }
    }
}

std::vector<std::string> VolumeCollection::tombstones() const {
    std::vector<std::string> paths;
    for (const auto& volume : all()) {
        if (volume->isTombstone()) {
            paths.push_back(volume->path());
        }
    }
    return paths;
}

std::vector<std::string> VolumeCollection::writtenPaths() const {
    std::vector<std::string> paths;
    for (const auto& volume : all()) {
        if (volume->hasUnfinishedWrites()) {
            paths.push_back(volume->path());
        }
    }
    return paths;
}

std::vector<std::string> VolumeCollection::claimedPaths() const {
    std::vector<std::string> paths;
    for (const auto& volume : all()) {
        if (volume->isInPlace() && !volume->isTombstone()) {
            paths.push_back(volume->path());
        }
    }
    return paths;
}

void VolumeCollection::endAll() {
    const auto volumes = all();
    finishWrites(volumes);
    for (const auto& volume : volumes) {
        volume->gate(false);
    }
    for (const auto& volume : volumes) {
        volume->takeAwayInBackground();
    }
    const auto gone = std::chrono::steady_clock::now() + kDetachTime;
    for (const auto& volume : volumes) {
        volume->waitUntilGone(gone);
        volume->tellUnmounted();
    }
    const auto letGo = std::chrono::steady_clock::now() + kLetGoTime;
    for (const auto& volume : volumes) {
        if (!volume->waitForEnd(letGo)) {
            volume->abort();
        }
    }
    const auto aborted = std::chrono::steady_clock::now() + kAbortTime;
    for (const auto& volume : volumes) {
        if (!volume->waitForEnd(aborted)) {
            main_->log(LogLevel::Warning, "A request on the volume " + volume->path() +
                                              " never came back; it is left to itself.");
        }
    }
    leftFolders_->removeEmpty();
}

void VolumeCollection::close() {
    isClosed_ = true;
    endAll();
    std::unique_ptr<Caretaker> caretaker;
    {
        const std::lock_guard lock(mutex_);
        caretaker = std::move(caretaker_);
    }
    caretaker.reset();
    main_->cut();
    const auto now = std::chrono::steady_clock::now();
    for (const auto& volume : all()) {
        if (volume->waitForEnd(now)) {
            volume->join();
        } else {
            volume->abandon();
        }
    }
    const std::lock_guard lock(mutex_);
    volumes_.clear();
}

}  // namespace quillbox::volume
