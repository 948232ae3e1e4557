// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace quillbox {

/// What an AFC call answers: 0 is success, every other value a failure. Below 0x100 the number is
/// the device's own status word (see `AFCStatus`).
using AFCError = std::uint32_t;

/// Status words of the AFC protocol that other code names.
enum AFCStatus : AFCError {
    kAFCSuccess = 0,
    kAFCUnknownError = 1,
    kAFCInvalidArgument = 7,
    kAFCObjectNotFound = 8,
    kAFCObjectIsDirectory = 9,
    kAFCPermissionDenied = 10,
    kAFCServiceNotConnected = 11,
    kAFCTimedOut = 12,
    kAFCEndOfData = 14,
    kAFCOperationNotSupported = 15,
    kAFCObjectExists = 16,
    kAFCObjectBusy = 17,
    kAFCNoSpaceLeft = 18,
    kAFCIOError = 20,
    kAFCInternalError = 23,
    kAFCMultiplexerError = 30,
    kAFCDirectoryNotEmpty = 33,
    /// Not a device's word: the connection is lost, closed or was never there.
    kAFCConnectionLost = 0x100,
};

/// One service socket or AFC connection. Numbers are handed out by the adapter, never 0 and never
/// used twice in the life of the process; 0 means none. A call with a number that is closed or
/// unknown answers `kAFCConnectionLost` and touches nothing.
using AFCConnectionRef = std::uint64_t;
/// One open file of one connection; never 0, never used twice in the life of the process.
using AFCFileRef = std::uint64_t;
/// One open directory listing; closed by `AFCDirectoryClose`, at the latest with its connection.
using AFCDirectoryRef = std::uint64_t;
/// One key/value answer; closed by `AFCKeyValueClose`, at the latest with its connection.
using AFCKeyValueRef = std::uint64_t;

/// Link types of `AFCLinkPath`, as the protocol numbers them.
enum AFCLinkType : std::uint64_t { kAFCHardLink = 1, kAFCSymbolicLink = 2 };

/// The AFC file service of attached devices.
///
/// Threads: any thread may call; calls on one connection go out one after the other. On the main
/// thread a call is a long wait (`RunLoop.h`), on any other it blocks. Blocking: until the device
/// answers; a request without progress for 30 seconds fails and the connection counts as broken,
/// and every request behind it fails at once. The device's departure ends it within a moment. After
/// a failure the connection is in step and usable, unless it is lost: then it is opened again
/// beneath the same number by the next call (at most one try a second) as long as its device stays
/// attached; files open at the time answer `kAFCIOError` until they are opened anew. Nothing is
/// sent twice.
class AFC {
public:
    virtual ~AFC() = default;

    /// Turns a started service (`AMDeviceStartService`, `AMDeviceStartHouseArrestService`) into a
    /// file connection. `ioTimeout` is always 0. On success the service number is used up; on
    /// failure it stays what it was.
    virtual AFCError AFCConnectionOpen(AFCConnectionRef service, std::uint32_t ioTimeout,
                                       AFCConnectionRef* connection) = 0;
    /// Ends a connection or a service that was not opened: its files, listings and answers are
    /// gone, a call in flight on another thread ends with a failure.
    virtual AFCError AFCConnectionClose(AFCConnectionRef connection) = 0;

    /// Asks for the figures of the served file system: "Model", "FSTotalBytes", "FSFreeBytes",
    /// "FSBlockSize".
    virtual AFCError AFCDeviceInfoOpen(AFCConnectionRef connection, AFCKeyValueRef* info) = 0;
    /// Asks for "st_size", "st_ifmt", "st_mtime" and the like of a path (not following a link).
    virtual AFCError AFCFileInfoOpen(AFCConnectionRef connection, const std::string& path,
                                     AFCKeyValueRef* info) = 0;
    /// The next pair of an answer; a null key marks the end. The texts live until the answer is
    /// closed by its number, also when its connection ends first.
    virtual AFCError AFCKeyValueRead(AFCKeyValueRef info, const char** key, const char** value) = 0;
    virtual AFCError AFCKeyValueClose(AFCKeyValueRef info) = 0;

    /// Reads a directory whole. A listing is whole or a failure, never short. Names that are empty
    /// or hold a slash or a NUL are left out and logged.
    virtual AFCError AFCDirectoryOpen(AFCConnectionRef connection, const std::string& path,
                                      AFCDirectoryRef* directory) = 0;
    /// The next name, in the device's order, "." and ".." among them; null at the end. The text
    /// lives until the directory is closed by its number, also when its connection ends first.
    virtual AFCError AFCDirectoryRead(AFCConnectionRef connection, AFCDirectoryRef directory,
                                      const char** name) = 0;
    virtual AFCError AFCDirectoryClose(AFCConnectionRef connection, AFCDirectoryRef directory) = 0;
    /// Makes a directory; missing parents are made, one that exists is a success.
    virtual AFCError AFCDirectoryCreate(AFCConnectionRef connection, const std::string& path) = 0;

    /// Open modes, as the protocol numbers them: 1 read; 2 read and write, made if absent, kept; 3
    /// write, made or cut to 0; 4 read and write, made or cut to 0; 5 append; 6 read and append.
    virtual AFCError AFCFileRefOpen(AFCConnectionRef connection, const std::string& path,
                                    std::uint64_t mode, AFCFileRef* file) = 0;
    /// `whence` 0 from the start, 1 from the position, 2 from the end.
    virtual AFCError AFCFileRefSeek(AFCConnectionRef connection, AFCFileRef file,
                                    std::int64_t offset, std::uint64_t whence) = 0;
    /// `length` in: bytes asked; out: bytes read, fewer only at the end of the file, 0 past it.
    virtual AFCError AFCFileRefRead(AFCConnectionRef connection, AFCFileRef file, void* buffer,
                                    std::uint64_t* length) = 0;
    /// Writes all bytes or fails.
    virtual AFCError AFCFileRefWrite(AFCConnectionRef connection, AFCFileRef file,
                                     const void* buffer, std::uint64_t length) = 0;
    virtual AFCError AFCFileRefSetFileSize(AFCConnectionRef connection, AFCFileRef file,
                                           std::uint64_t size) = 0;
    virtual AFCError AFCFileRefClose(AFCConnectionRef connection, AFCFileRef file) = 0;

    /// From now on, and until it is said otherwise, a write of the calling thread may answer as
    /// soon as its bytes are on their way. A failure of such a write is answered by the next write
    /// to that file, by `AFCFileRefSettle` or by its close, whichever is first. Off to begin with;
    /// without effect on the main thread.
    virtual void answerWritesEarly(bool /*early*/) {}

    /// Waits until the device has answered every write to a file. 0, or the first failure that no
    /// call has answered yet.
    virtual AFCError AFCFileRefSettle(AFCConnectionRef /*connection*/, AFCFileRef /*file*/) {
        return kAFCSuccess;
    }

    /// For a caller who has a moment: takes in some of what the device has sent ahead on a
    /// connection, so that a later call finds it here. Never waits. Any thread.
    virtual void AFCConnectionTakeArrived(AFCConnectionRef /*connection*/) {}

    /// Renames; an existing file at `to` is replaced.
    virtual AFCError AFCRenamePath(AFCConnectionRef connection, const std::string& from,
                                   const std::string& to) = 0;
    /// Removes a file, a link or an empty directory.
    virtual AFCError AFCRemovePath(AFCConnectionRef connection, const std::string& path) = 0;
    /// Makes a link. For a hard link `first` is the existing file and `second` the new name; for a
    /// symbolic link `first` is the new link and `second` the target text.
    virtual AFCError AFCLinkPath(AFCConnectionRef connection, AFCLinkType type,
                                 const std::string& first, const std::string& second) = 0;

    /// Cuts or lengthens the file at a path.
    virtual AFCError AFCTruncatePath(AFCConnectionRef connection, const std::string& path,
                                     std::uint64_t size) = 0;
    /// Nanoseconds since 1970-01-01 UTC.
    virtual AFCError AFCSetModificationTime(AFCConnectionRef connection, const std::string& path,
                                            std::uint64_t nanoseconds) = 0;

    /// The last failure that a call of this class gave to the calling thread since that thread's
    /// last `forgetFailure`, or 0. So a caller further up can tell why an answer was "no".
    virtual AFCError lastFailure() const = 0;
    virtual void forgetFailure() = 0;
};

}  // namespace quillbox
