// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"
#include "Core/Platform/NotificationCenter.h"
#include "Core/Platform/RunLoop.h"
#include "Core/Platform/UserFileSystem.h"
#include "Linux/Volume/BackingFactory.h"

#include <memory>
#include <string>
#include <vector>

namespace quillbox {

namespace volume {
class VolumeCollection;
}

/// Volumes over libfuse3. Made and destroyed on the main thread; the references must outlive it.
/// Destroying it ends every volume (`endAll`); destroy it after the last turn of the main loop, and
/// before what the delegates need.
class FuseUserFileSystems final : public UserFileSystems {
public:
    FuseUserFileSystems(RunLoop& loop, NotificationCenter& notifications, Log& log,
                        volume::BackingFactory backing);
    ~FuseUserFileSystems() override;

    /// The volume object may outlive this one; it then mounts nothing any more.
    std::unique_ptr<GMUserFileSystem>
    initWithDelegate(std::weak_ptr<GMUserFileSystemDelegate> delegate, bool isThreadSafe) override;

    /// A connection is about to be closed or was lost for good: every volume whose backing uses it,
    /// out of sight or not, answers EIO by itself from now on and never calls its delegate again.
    /// Returns when the delegate calls in flight have returned, at the latest after 5 seconds. To
    /// be called before the delegate changes over to another connection. Any thread.
    ///
    /// With `deviceGone` the volume stays in place for 1.2 seconds more, so that running programs
    /// see I/O errors and no missing files; then it goes, whatever the main thread does.
    void connectionEnds(AFCConnectionRef connection, bool deviceGone);

    /// The paths of volumes that only stand there for a last moment: to be taken as free. A mount
    /// at such a path ends the old volume first. Any thread.
    std::vector<std::string> tombstones() const;

    /// The paths of volumes that were asked for and are not gone, those among them whose folder is
    /// not there yet: not free, whatever the disk says. Any thread.
    std::vector<std::string> claimedPaths() const;

    /// The paths of volumes with files that programs have written to and the device has not got
    /// whole. Any thread.
    std::vector<std::string> writtenPaths() const;

    /// Ends every volume, in about two seconds at most: EIO, out of sight, and where a session does
    /// not end by itself, without the kernel's leave. For quitting. Main thread.
    void endAll();

private:
    std::shared_ptr<volume::VolumeCollection> volumes_;
};

}  // namespace quillbox
