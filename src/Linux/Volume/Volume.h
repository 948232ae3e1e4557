// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/UserFileSystem.h"
#include "Core/Platform/VolumeBacking.h"
#include "Linux/Volume/DelegateQueue.h"
#include "Linux/Volume/Detach.h"
#include "Linux/Volume/Helpers.h"
#include "Linux/Volume/MainThread.h"
#include "Linux/Volume/MountPoint.h"
#include "Linux/Volume/Nodes.h"
#include "Linux/Volume/Operations.h"
#include "Linux/Volume/Session.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quillbox::volume {

/// Who a volume's notices are about; none once that object is gone. Main thread only.
struct NoticeSubject {
    const void* object = nullptr;
};

/// The life of one mounted volume, from the request to mount it until the last program has closed
/// its last file on it.
///
/// Its folder and its session end apart: detached lazily, a volume is out of sight while what is
/// open goes on being served. A gated volume answers EIO by itself and never calls its delegate
/// again; a tombstone is a gated volume that stays in place for a moment after its device has gone,
/// so that programs see I/O errors rather than "no such file".
class Volume : public std::enable_shared_from_this<Volume> {
public:
    struct Parts {
        std::string path;
        std::vector<std::string> options;
        std::shared_ptr<GMUserFileSystemDelegate> delegate;
        std::unique_ptr<VolumeBacking> backing;
        bool isThreadSafe = false;
        std::shared_ptr<MainThread> main;
        std::shared_ptr<NoticeSubject> subject;
        std::function<void()> beforeMount;  ///< on the volume's thread: frees the path
        std::function<void(const std::shared_ptr<Volume>&)> whenEnded;  ///< on the main thread
        /// Calls something after a while, on any thread, or never: what it calls must not wait.
        std::function<void(std::chrono::milliseconds, std::function<void()>)> later;
        std::shared_ptr<LeftFolders> leftFolders;
    };

    explicit Volume(Parts parts);
    ~Volume();
    Volume(const Volume&) = delete;
    Volume& operator=(const Volume&) = delete;

    /// Begins: the delegate's `willMount` at once, the rest on the volume's thread. Main thread.
    void start();
    /// Takes the volume out of sight and tells so. Bounded. Main thread.
    void unmount();

    /// Brings to the device what programs have written. Any thread; ready once that is done.
    std::future<void> finishWritesInBackground();

    bool hasUnfinishedWrites() const { return operations_.hasUnfinishedWrites(); }

    /// From now on EIO, and no call of the delegate. Any thread; returns at once.
    void gate(bool asTombstone);
    /// Waits until the delegate call in flight has returned. Any thread.
    bool waitUntilIdle(std::chrono::steady_clock::time_point deadline);
    /// Takes a volume out of sight and tells the main thread. Any thread that may wait.
    void takeAway();
    /// The same on a thread of its own; main thread only.
    void takeAwayInBackground();
    bool waitUntilGone(std::chrono::steady_clock::time_point deadline);
    /// Tells that the volume is gone, where nobody has told yet. Main thread.
    void tellUnmounted();
    /// The mount table has changed: notices when the volume is not in it any more. Any thread.
    void checkPresence();

    /// Ends the session without the kernel's leave, and what programs wait for with it. Any thread.
    void abort();
    bool waitForEnd(std::chrono::steady_clock::time_point deadline);
    /// After the end: joins the threads and lets go of the delegate. Main thread.
    void join();
    /// Leaves a volume that does not end to itself.
    void abandon();

    AFCConnectionRef connection() const;

    /// The path that was asked for.
    const std::string& path() const { return askedPath_; }

    /// Whether the volume still takes up its path, and whether it does so as a tombstone.
    bool isInPlace() const;
    bool isTombstone() const;

private:
    void run();
    int bringUp();
    void isAnswered();
    void end(int mountError);
    void takeDown(Detachment first);
    bool isOutOfSight() const;
    void markGone();
    void tellMounted();
    void tellEnded(int mountError);
    void notify(std::string_view name, std::map<std::string, NSError> userInfo);
    void isGathering();
    void sendLingering();
    void inBackground(std::function<void()> work);
    std::string optionText() const;

    const std::string askedPath_;
    const std::vector<std::string> options_;
    std::shared_ptr<GMUserFileSystemDelegate> delegate_;
    const std::unique_ptr<VolumeBacking> backing_;
    const std::shared_ptr<MainThread> main_;
    const std::shared_ptr<NoticeSubject> subject_;
    const std::function<void()> beforeMount_;
    const std::function<void(const std::shared_ptr<Volume>&)> whenEnded_;
    const std::function<void(std::chrono::milliseconds, std::function<void()>)> later_;

    MountPoint mountPoint_;
    DelegateQueue queue_;
    Nodes nodes_;
    Operations operations_;
    Served served_;
    std::atomic<bool> isSendPlanned_ = false;  ///< of what was gathered

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Session> session_;
    unsigned deviceMinor_ = 0;  ///< the kernel's number of the mount
    bool isMounted_ = false;    ///< in the mount table, as far as we know
    bool isTried_ = false;      ///< the attempt to mount is over
    bool hasEnded_ = false;     ///< the session is over
    bool isGone_ = false;       ///< out of sight for good
    bool isTombstone_ = false;
    bool isUnwanted_ = false;  ///< to be taken down as soon as it is mounted
    bool isShown_ = false;     ///< the kernel has answered

    std::mutex takeDownMutex_;  ///< one detaching at a time
    std::thread thread_;
    Helpers helpers_;

    // Main thread only.
    bool isTold_ = false;
};

}  // namespace quillbox::volume
