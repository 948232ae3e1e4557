// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/UserFileSystem.h"
#include "Core/Platform/VolumeBacking.h"
#include "Linux/Volume/AbsentName.h"
#include "Linux/Volume/Attributes.h"
#include "Linux/Volume/DelegateQueue.h"
#include "Linux/Volume/Errors.h"
#include "Linux/Volume/GatheredWrites.h"
#include "Linux/Volume/Nodes.h"
#include "Linux/Volume/OpenDirectories.h"
#include "Linux/Volume/OpenFiles.h"
#include "Linux/Volume/Result.h"
#include "Linux/Volume/TrashNames.h"

#include <cerrno>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace quillbox::volume {

/// An item as the kernel is told of it; the node counts one lookup.
struct Entry {
    NodeId node = 0;
    struct stat attributes = {};
};

struct CreatedFile {
    Entry entry;
    HandleId handle = 0;
};

/// What a program wants changed; what is absent stays.
struct Changes {
    std::optional<mode_t> mode;
    std::optional<uid_t> user;
    std::optional<gid_t> group;
    std::optional<std::uint64_t> size;
    std::optional<std::int64_t> modified;  ///< nanoseconds since 1970-01-01 UTC
};

/// One volume's answers: a value or an errno number, over the delegate and the backing, with
/// nothing of libfuse in it. Each operation takes a turn in the queue when (and only when) it needs
/// the delegate; `caller` is who waits for it.
///
/// Any thread. An exception of a delegate passes through and leaves everything consistent.
class Operations {
public:
    struct Parts {
        GMUserFileSystemDelegate& delegate;
        VolumeBacking& backing;
        DelegateQueue& queue;
        Nodes& nodes;
        Owner owner;
        /// The text of the volume information file.
        std::string volumeInformation;
        /// Told, on any thread, when small writes begin to be gathered and nothing was: then
        /// `sendLingering` is wanted some time later, and again while something lingers. Must not
        /// wait.
        std::function<void()> whenGathering;
    };

    explicit Operations(const Parts& parts);

    // Items.
    Result<Entry> lookUp(Caller& caller, NodeId parent, const std::string& name);
    void forget(NodeId node, std::uint64_t lookups);
    /// Whether nothing that a program does here changes the item behind the kernel's back: it may
    /// then keep what it was told for a moment.
    bool mayBeKept(const Entry& entry) const;
    Result<struct stat> attributes(Caller& caller, NodeId node, std::optional<HandleId> handle);
    Result<struct stat> change(Caller& caller, NodeId node, std::optional<HandleId> handle,
                               const Changes& changes);
    /// Whether a program may do what it asks for (R_OK, W_OK, X_OK): nobody is asked, the device
    /// says no to what is done.
    Result<Done> mayAccess(NodeId node, int wanted) const;
    Result<struct statvfs> volumeFigures(Caller& caller);

    // Files. `flags` as open(2) has them.
    Result<HandleId> open(Caller& caller, NodeId node, int flags);
    Result<CreatedFile> create(Caller& caller, NodeId parent, const std::string& name, mode_t mode,
                               int flags);
    /// Reads into `buffer`: fewer bytes than asked only at the end of the file.
    Result<std::size_t> read(Caller& caller, HandleId handle, char* buffer, std::size_t size,
                             std::int64_t offset);
    /// A read is answered, and the thread has a moment for what the device has sent ahead.
    void useMoment() noexcept;
    /// Answers before the device has. A failure is the next write's or flush's of that open file.
    Result<std::size_t> write(Caller& caller, HandleId handle, const char* buffer, std::size_t size,
                              std::int64_t offset);
    /// What a close waits for: all that was written through a handle is on the device.
    Result<Done> flush(Caller& caller, HandleId handle);
    /// What a sync waits for: all that was written to the file is on the device, through whichever
    /// handle. A failure of another handle's is told here once, and again to whoever wrote.
    Result<Done> sync(Caller& caller, HandleId handle);
    /// The same for every open file; failures stay for whoever wrote.
    void finishAllWrites();
    /// Hands what was gathered so far to the device; failures stay for whoever wrote.
    void sendLingering();

    bool hasLingering() const { return !gathered_.isEmpty(); }

    bool hasUnfinishedWrites() const;
    /// Closed by the last program: exactly one for each open. Harmless for an unknown handle. On a
    /// closed queue the delegate is not told.
    void release(HandleId handle);
    /// At the end of a session: the kernel drops the last releases when the last file of a volume
    /// out of sight is closed.
    void releaseAll();

    // Directories. A listing is taken whole when the directory is opened and again by a rewind.
    Result<HandleId> openDirectory(Caller& caller, NodeId node);
    /// The listing to read from at `offset`, the count of entries that were read before.
    Result<Listing> listing(Caller& caller, HandleId handle, std::uint64_t offset);
    void releaseDirectory(HandleId handle);
    /// The inode number that a name in a directory has.
    std::uint64_t inode(NodeId directory, const std::string& name) const;
    std::uint64_t inode(NodeId directory) const;

    // The name space.
    Result<Entry> makeFile(Caller& caller, NodeId parent, const std::string& name, mode_t mode);
    Result<Entry> makeDirectory(Caller& caller, NodeId parent, const std::string& name,
                                mode_t mode);
    Result<Entry> makeSymbolicLink(Caller& caller, NodeId parent, const std::string& name,
                                   const std::string& target);
    Result<Entry> makeLink(Caller& caller, NodeId node, NodeId parent, const std::string& name);
    Result<std::string> symbolicLinkTarget(Caller& caller, NodeId node);
    Result<Done> removeFile(Caller& caller, NodeId parent, const std::string& name);
    Result<Done> removeDirectory(Caller& caller, NodeId parent, const std::string& name);
    /// `flags` as renameat2(2) has them.
    Result<Done> rename(Caller& caller, NodeId parent, const std::string& name, NodeId newParent,
                        const std::string& newName, unsigned flags);

    // Extended attributes.
    Result<PropertyData> extendedAttribute(Caller& caller, NodeId node, const std::string& name);
    Result<Done> setExtendedAttribute(Caller& caller, NodeId node, const std::string& name,
                                      const PropertyData& value, int flags);
    Result<std::string> extendedAttributeNames(Caller& caller, NodeId node);

private:
    enum class Removal { File, Directory };

    /// Puts a question to the delegate: a call that takes the error out-parameter and answers with
    /// a bool or an optional. The caller has a turn.
    template <typename Question>
    auto ask(Question&& question) {
        backing_.beginCall();
        std::optional<NSError> error;
        // Some delegates make an error of the thread's errno: what our own system calls left there
        // must not pass for an answer.
        errno = 0;
        auto answer = question(&error);
        if constexpr (std::is_same_v<decltype(answer), bool>) {
            return answer ? Result<Done>(Done{})
                          : Result<Done>(Failure{errnoOfRefusal(error, backing_.lastFailure())});
        } else {
            using Value = typename decltype(answer)::value_type;
            return answer ? Result<Value>(std::move(*answer))
                          : Result<Value>(Failure{errnoOfRefusal(error, backing_.lastFailure())});
        }
    }

    Result<std::size_t> writeNow(const OpenFile& file, const char* buffer, std::size_t size,
                                 std::int64_t offset);
    Result<std::uint64_t> lengthBeyond(const OpenFile& file, std::uint64_t end);
    void send(const GatheredWrites::Run& run);
    /// Before anything is asked or done that must see what was written: of one file, or of all.
    void sendGathered(NodeId node);
    void sendAllGathered();
    void settleWrites(const OpenFile& file);
    Result<Done> finishWrites(const OpenFile& file);
    std::vector<OpenFile> unfinished(NodeId node) const;
    Result<struct stat> askAttributes(const std::string& path, const GMUserData& userData);
    Result<std::vector<std::string>> askListing(NodeId node, const std::string& path);
    Result<Done> askAbsence(const std::string& path);
    Result<Entry> entry(NodeId parent, const std::string& name, const struct stat& attributes);
    Result<Entry> virtualEntry(NodeId parent, const std::string& name);
    /// What was just made under a name.
    Result<Entry> freshEntry(NodeId parent, const std::string& name, const std::string& path);
    /// The path for a new item, or why there can be none.
    Result<std::string> newPath(NodeId parent, const std::string& name) const;
    /// What a program hears that came to a node by its name.
    static Failure stale(NodeId node, int error);
    /// The attributes of a node, in a turn of the queue.
    Result<struct stat> refresh(NodeId node, const GMUserData& userData);
    Result<struct stat> changeRemoved(NodeId node, const std::optional<OpenFile>& file,
                                      const Changes& changes);
    Result<Done> applyChanges(NodeId node, const std::string& path, const GMUserData& userData,
                              const Changes& changes);
    Result<Done> resize(NodeId node, const std::string& path, const GMUserData& userData,
                        std::uint64_t size);
    Result<Done> remove(Caller& caller, NodeId parent, const std::string& name, Removal removal);
    static int absence(const std::string& name, int error = ENOENT);
    bool isVirtualName(NodeId parent, const std::string& name) const;
    struct stat virtualAttributes() const;

    GMUserFileSystemDelegate& delegate_;
    VolumeBacking& backing_;
    DelegateQueue& queue_;
    Nodes& nodes_;
    const Owner owner_;
    const std::string volumeInformation_;
    const std::function<void()> whenGathering_;
    const std::int64_t mounted_;  ///< the date of the file that the volume makes up
    TrashNames trashNames_;
    OpenFiles files_;
    OpenDirectories directories_;
    AbsentName absentName_;
    GatheredWrites gathered_;
    std::mutex sendMutex_;  ///< runs are sent in the order in which they were taken
};

}  // namespace quillbox::volume
