// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Volume.h"

#include "Linux/Volume/InodeSeed.h"
#include "Linux/Volume/MountOptions.h"
#include "Linux/Volume/MountTable.h"
#include "Linux/Volume/VolumeInformation.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace quillbox::volume {
namespace {

// How long a volume that is unmounted waits for the device to take what was written.
constexpr auto kFinishTime = std::chrono::seconds(1);
// How long what a program writes in small pieces stays here, so that a file that is kept open for
// hours is on the device all the same.
constexpr auto kGatheringTime = std::chrono::seconds(1);
// How long the main thread waits for a volume to be detached.
constexpr auto kUnmountTime = std::chrono::seconds(2);

std::string informationFor(const std::vector<std::string>& options, const std::string& path) {
    const MountOptions parsed = MountOptions::parse(options);
    return volumeInformation(parsed.volumeName.empty()
                                 ? std::filesystem::path(path).filename().string()
                                 : parsed.volumeName,
                             parsed.iconPath);
}

NSError mountError(const std::string& path, int number) {
    NSError error = NSError::errorWithDomain(NSPOSIXErrorDomain, number);
    error.localizedDescription =
        "The volume could not be mounted at " + path + ": " + std::strerror(number) + ".";
    return error;
}

}  // namespace

Volume::Volume(Parts parts)
    : askedPath_(std::move(parts.path)),
      options_(std::move(parts.options)),
      delegate_(std::move(parts.delegate)),
      backing_(std::move(parts.backing)),
      main_(std::move(parts.main)),
      subject_(std::move(parts.subject)),
      beforeMount_(std::move(parts.beforeMount)),
      whenEnded_(std::move(parts.whenEnded)),
      later_(std::move(parts.later)),
      mountPoint_(askedPath_, std::move(parts.leftFolders)),
      queue_(!parts.isThreadSafe),
      nodes_(inodeSeed(askedPath_, ::getuid())),
      operations_({*delegate_, *backing_, queue_, nodes_, Owner{::getuid(), ::getgid()},
                   informationFor(options_, askedPath_), [this] { isGathering(); }}),
      served_{operations_, queue_, [this] { isAnswered(); }} {}

Volume::~Volume() = default;

AFCConnectionRef Volume::connection() const {
    return backing_->connection();
}

bool Volume::isInPlace() const {
    const std::lock_guard lock(mutex_);
    return !isGone_;
}

bool Volume::isTombstone() const {
    const std::lock_guard lock(mutex_);
    return isTombstone_ && !isGone_;
}

void Volume::start() {
    delegate_->willMount();
    const std::lock_guard lock(mutex_);
    thread_ = std::thread([self = shared_from_this()] { self->run(); });
}

std::string Volume::optionText() const {
    const MountOptions options = MountOptions::parse(options_);
    for (const std::string& option : options.unknown) {
        main_->log(LogLevel::Warning,
                   "The volume option \"" + option + "\" is not known and was left out.");
    }
    const bool mayAdmit = mayAdmitOthers(::geteuid() == 0, fuseConfigurationFiles());
    if (options.wantsOtherUsers && !mayAdmit) {
        main_->log(LogLevel::Info,
                   "Only you can use the volume: other users are let in where the line "
                   "user_allow_other stands in /etc/fuse.conf.");
    }
    return fuseOptionText(options.volumeName, options.wantsOtherUsers && mayAdmit);
}

int Volume::bringUp() {
    beforeMount_();
    {
        const std::lock_guard lock(mutex_);
        if (isUnwanted_) {
            return ECANCELED;
        }
        session_.emplace(optionText(), served_);
    }
    if (const int error = mountPoint_.prepare(); error != 0) {
        return error;
    }
    if (const int error = session_->mount(mountPoint_.path()); error != 0) {
        return error;
    }
    const auto mount = volumeAt(mountPoint_.path());
    const std::lock_guard lock(mutex_);
    deviceMinor_ = mount ? mount->deviceMinor : 0;
    isMounted_ = true;
    return 0;
}

void Volume::run() {
    const int error = bringUp();
    bool isUnwanted = false;
    {
        const std::lock_guard lock(mutex_);
        isTried_ = true;
        isUnwanted = isUnwanted_;
        changed_.notify_all();
    }
    if (error == 0) {
        if (isUnwanted) {
            takeDown(Detachment::Lazy);
        }
        session_->run();
        operations_.releaseAll();
    }
    end(error);
}

void Volume::isAnswered() {
    {
        const std::lock_guard lock(mutex_);
        if (isGone_) {
            return;
        }
        isShown_ = true;
    }
    main_->post([self = shared_from_this()] { self->tellMounted(); });
}

void Volume::end(int mountError) {
    {
        const std::lock_guard lock(mutex_);
        session_.reset();
    }
    markGone();
    main_->post([self = shared_from_this(), mountError] { self->tellEnded(mountError); });
    const std::lock_guard lock(mutex_);
    hasEnded_ = true;
    changed_.notify_all();
}

void Volume::markGone() {
    mountPoint_.remove();
    const std::lock_guard lock(mutex_);
    isGone_ = true;
    isMounted_ = false;
    changed_.notify_all();
}

// Only ever our own mount: by now another one may stand at the path.
void Volume::takeDown(Detachment first) {
    const std::lock_guard takingDown(takeDownMutex_);
    unsigned deviceMinor = 0;
    {
        const std::lock_guard lock(mutex_);
        if (!isMounted_) {
            return;
        }
        deviceMinor = deviceMinor_;
    }
    const std::string& path = mountPoint_.path();
    const auto mount = volumeAt(path);
    if (!mount || mount->deviceMinor != deviceMinor) {
        markGone();
        return;
    }
    int error = detach(path, first);
    if (error != 0 && first == Detachment::Plain) {
        main_->log(LogLevel::Info, "The volume " + path +
                                       " is in use: it is taken out of sight, and what is open "
                                       "on it is served until it is closed.");
        error = detach(path, Detachment::Lazy);
    }
    if (error != 0) {
        main_->log(LogLevel::Error,
                   "The volume " + path + " could not be unmounted: " + std::strerror(error) + ".");
        return;
    }
    markGone();
}

void Volume::inBackground(std::function<void()> work) {
    helpers_.run([self = shared_from_this(), work = std::move(work)] { work(); });
}

std::future<void> Volume::finishWritesInBackground() {
    auto done = std::make_shared<std::promise<void>>();
    auto finished = done->get_future();
    inBackground([this, done] {
        operations_.finishAllWrites();
        done->set_value();
    });
    return finished;
}

void Volume::isGathering() {
    if (isSendPlanned_.exchange(true)) {
        return;
    }
    later_(kGatheringTime, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->sendLingering();
        }
    });
}

void Volume::sendLingering() {
    const auto send = [this] {
        operations_.sendLingering();
        isSendPlanned_ = false;
        if (operations_.hasLingering() && !queue_.isClosed()) {
            isGathering();
        }
    };
    try {
        if (operations_.hasLingering()) {
            inBackground(send);
        } else {
            isSendPlanned_ = false;
        }
    } catch (const std::exception& error) {
        // What is gathered is sent all the same: by the next sync or close.
        isSendPlanned_ = false;
        main_->log(LogLevel::Warning,
                   "What was written to " + askedPath_ + " waits: " + error.what() + ".");
    }
}

void Volume::takeAwayInBackground() {
    inBackground([this] { takeAway(); });
}

bool Volume::waitUntilGone(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    return changed_.wait_until(lock, deadline, [this] { return isGone_; });
}

bool Volume::isOutOfSight() const {
    {
        const std::lock_guard lock(mutex_);
        if (!isTried_) {
            return false;
        }
    }
    return !volumeAt(mountPoint_.path());
}

void Volume::unmount() {
    bool isTombstone = false;
    {
        const std::lock_guard lock(mutex_);
        isUnwanted_ = true;
        isTombstone = isTombstone_;
    }
    if (isTold_) {
        return;
    }
    isTold_ = true;
    delegate_->willUnmount();
    if (!isTombstone) {  // a tombstone goes by itself
        inBackground([this] {
            {
                std::unique_lock lock(mutex_);
                changed_.wait(lock, [this] { return isTried_; });
            }
            if (operations_.hasUnfinishedWrites()) {
                // What a stalled device does not take now it may still take when it is closed.
                finishWritesInBackground().wait_for(kFinishTime);
            }
            takeDown(Detachment::Plain);
        });
        if (!waitUntilGone(std::chrono::steady_clock::now() + kUnmountTime) && isOutOfSight()) {
            markGone();  // while the kernel still waits for the device to take the last of it
        }
    }
    notify(kGMUserFileSystemDidUnmount, {});
}

void Volume::gate(bool asTombstone) {
    queue_.close();
    const std::lock_guard lock(mutex_);
    isTombstone_ = isTombstone_ || asTombstone;
}

bool Volume::waitUntilIdle(std::chrono::steady_clock::time_point deadline) {
    return queue_.waitUntilIdle(deadline);
}

void Volume::takeAway() {
    {
        const std::lock_guard lock(mutex_);
        isUnwanted_ = true;
        if (!isTried_) {
            return;  // it goes as soon as it is mounted
        }
    }
    takeDown(Detachment::Lazy);
    main_->post([self = shared_from_this()] { self->tellUnmounted(); });
}

void Volume::checkPresence() {
    {
        const std::lock_guard lock(mutex_);
        if (!isMounted_ || !isShown_) {
            return;
        }
    }
    const std::unique_lock takingDown(takeDownMutex_, std::try_to_lock);
    if (!takingDown) {
        return;  // it is just being taken down, by us
    }
    const auto mount = volumeAt(mountPoint_.path());
    {
        const std::lock_guard lock(mutex_);
        if (!isMounted_ || (mount && mount->deviceMinor == deviceMinor_)) {
            return;
        }
    }
    markGone();
    main_->post([self = shared_from_this()] { self->tellUnmounted(); });
}

void Volume::abort() {
    const std::lock_guard lock(mutex_);
    if (hasEnded_ || !isTried_ || !session_) {
        return;
    }
    const std::filesystem::path control =
        "/sys/fs/fuse/connections/" + std::to_string(deviceMinor_) + "/abort";
    if (deviceMinor_ != 0) {
        std::ofstream(control) << "1";  // absent where that file system is not mounted
    }
    session_->abort();
}

bool Volume::waitForEnd(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    return changed_.wait_until(lock, deadline, [this] { return hasEnded_; });
}

void Volume::join() {
    if (thread_.joinable()) {
        thread_.join();
    }
    helpers_.join();
    delegate_.reset();
}

// The process is about to end and a delegate call never returned. The threads own this object, so
// that it lives as long as they do.
void Volume::abandon() {
    if (thread_.joinable()) {
        thread_.detach();
    }
    helpers_.abandon();
}

void Volume::notify(std::string_view name, std::map<std::string, NSError> userInfo) {
    main_->notify(Notification{std::string(name), subject_->object, std::move(userInfo)});
}

void Volume::tellMounted() {
    {
        const std::lock_guard lock(mutex_);
        if (isUnwanted_ || isTombstone_ || isGone_) {
            return;
        }
    }
    if (!isTold_) {
        notify(kGMUserFileSystemDidMount, {});
    }
}

void Volume::tellUnmounted() {
    if (isTold_) {
        return;
    }
    isTold_ = true;
    delegate_->willUnmount();
    notify(kGMUserFileSystemDidUnmount, {});
}

void Volume::tellEnded(int error) {
    bool wasShown = false;
    bool isUnwanted = false;
    {
        const std::lock_guard lock(mutex_);
        wasShown = isShown_;
        isUnwanted = isUnwanted_ || isTombstone_;
    }
    if (wasShown || isUnwanted) {
        tellUnmounted();
    } else if (!isTold_) {
        isTold_ = true;
        const NSError reason = mountError(askedPath_, error == 0 ? EIO : error);
        main_->log(LogLevel::Error, reason.localizedDescription);
        notify(kGMUserFileSystemMountFailed, {{std::string(kGMUserFileSystemErrorKey), reason}});
    }
    whenEnded_(shared_from_this());
}

}  // namespace quillbox::volume
