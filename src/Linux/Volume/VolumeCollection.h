// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Linux/Volume/BackingFactory.h"
#include "Linux/Volume/Caretaker.h"
#include "Linux/Volume/Volume.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::volume {

/// All volumes that have not ended yet, those out of sight included.
class VolumeCollection : public std::enable_shared_from_this<VolumeCollection> {
public:
    VolumeCollection(RunLoop& loop, NotificationCenter& notifications, Log& log,
                     BackingFactory backing);

    /// What one mount is made of.
    struct Wish {
        std::string path;
        std::vector<std::string> options;
        std::weak_ptr<GMUserFileSystemDelegate> delegate;
        bool isThreadSafe = false;
        std::shared_ptr<NoticeSubject> subject;
    };

    /// Starts a volume; where that is not possible the failure is posted and null returned. Main
    /// thread.
    std::shared_ptr<Volume> mount(const Wish& wish);

    void connectionEnds(AFCConnectionRef connection, bool deviceGone);
    std::vector<std::string> tombstones() const;
    std::vector<std::string> claimedPaths() const;
    std::vector<std::string> writtenPaths() const;
    void endAll();
    /// Ends everything and lets go of the main thread. Main thread; nothing but the destructor
    /// after this.
    void close();

private:
    void finishWrites(const std::vector<std::shared_ptr<Volume>>& volumes);
    std::vector<std::shared_ptr<Volume>> all() const;
    void later(std::chrono::milliseconds pause, std::function<void()> work);
    void endTombstoneAt(const std::string& path);
    void checkPresence();
    void hasEnded(const std::shared_ptr<Volume>& volume);
    void fail(const Wish& wish, int error);
    bool isTaken(const std::string& path) const;

    const std::shared_ptr<MainThread> main_;
    const BackingFactory backing_;
    bool isClosed_ = false;  ///< main thread only
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Volume>> volumes_;
    std::shared_ptr<LeftFolders> leftFolders_ = std::make_shared<LeftFolders>();
    std::unique_ptr<Caretaker> caretaker_;
};

}  // namespace quillbox::volume
