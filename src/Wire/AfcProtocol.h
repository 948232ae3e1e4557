// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

/// The vocabulary of AFC, the file service of a device: operations, statuses, modes. The numbers
/// are the service's own. Numbers in parameters are little-endian 64-bit, paths are UTF-8 with a
/// closing NUL.
namespace quillbox::wire {

/// What a packet asks or answers. The parameters stand in the order in which they travel.
enum class AfcOperation : std::uint64_t {
    Status = 0x01,  ///< answer: a status word
    Data = 0x02,    ///< answer: the bytes follow as bulk data
    ReadDirectory =
        0x03,  ///< path; answered by Data: names, each with a NUL, "." and ".." among them
    TruncatePath = 0x07,   ///< size, path; answered by Status
    RemovePath = 0x08,     ///< path; a file or an empty folder; answered by Status
    MakeDirectory = 0x09,  ///< path; missing parents are made; answered by Status
    FileInfo = 0x0A,    ///< path; answered by Data: key NUL value NUL ...; links are not followed
    DeviceInfo = 0x0B,  ///< nothing; answered by Data: key NUL value NUL ...
    FileOpen = 0x0D,    ///< mode (AfcOpenMode), path; answered by FileOpenResult
    FileOpenResult = 0x0E,  ///< answer: the handle
    FileRead = 0x0F,        ///< handle, length; answered by Data, shorter at the end, empty past it
    FileWrite = 0x10,       ///< handle, then the bytes as bulk data; answered by Status
    FileSeek = 0x11,        ///< handle, AfcWhence, signed offset; answered by Status
    FileTell = 0x12,        ///< handle; answered by FileTellResult
    FileTellResult = 0x13,  ///< answer: the position
    FileClose = 0x14,       ///< handle; answered by Status
    FileSetSize = 0x15,     ///< handle, size; answered by Status
    Rename = 0x18,          ///< from, to; an existing target file is replaced; answered by Status
    FileLock = 0x1B,        ///< handle, AfcLock; answered by Status
    MakeLink = 0x1C,        ///< AfcLinkType, target, name of the link; answered by Status
    SetModificationTime = 0x1E,    ///< nanoseconds since 1970, path; answered by Status
    RemovePathAndContents = 0x22,  ///< path; answered by Status
};

/// How an AFC request ended.
enum class AfcStatus : std::uint64_t {
    Success = 0,
    UnknownError = 1,
    MalformedHeader = 2,
    NoResources = 3,
    ReadError = 4,
    WriteError = 5,
    UnknownPacketType = 6,
    InvalidArgument = 7,
    ObjectNotFound = 8,
    ObjectIsDirectory = 9,
    PermissionDenied = 10,
    ServiceNotConnected = 11,
    TimedOut = 12,
    TooMuchData = 13,
    EndOfData = 14,
    OperationNotSupported = 15,
    ObjectExists = 16,
    ObjectBusy = 17,
    NoSpaceLeft = 18,
    WouldBlock = 19,
    IoError = 20,
    Interrupted = 21,
    InProgress = 22,
    InternalError = 23,
    MultiplexerError = 30,
    NoMemory = 31,
    NotEnoughData = 32,
    DirectoryNotEmpty = 33,
};

/// How a file is opened.
enum class AfcOpenMode : std::uint64_t {
    Read = 1,           ///< reading; the file must exist
    ReadWrite = 2,      ///< reading and writing; made if absent, its content kept
    WriteTruncate = 3,  ///< writing; made, or cut to 0
    ReadTruncate = 4,   ///< reading and writing; made, or cut to 0
    Append = 5,         ///< writing at the end; made if absent
    ReadAppend = 6,     ///< reading, and writing at the end; made if absent
};

/// From where a seek counts.
enum class AfcWhence : std::uint64_t {
    Set = 0,      ///< the beginning
    Current = 1,  ///< the position
    End = 2,      ///< the end
};

/// What to do with the lock of an open file. A lock that another handle holds answers WouldBlock.
enum class AfcLock : std::uint64_t {
    Shared = 5,
    Exclusive = 6,
    Unlock = 12,
};

/// Kind of link to make.
enum class AfcLinkType : std::uint64_t {
    Hard = 1,      ///< the target is a path of the service
    Symbolic = 2,  ///< the target is text, kept as it is
};

/// Short lower-case name of a request ("read-directory", "open", "write" ...), for counters and
/// faults. Empty for answers and for numbers that are no operation.
[[nodiscard]] std::string_view afcRequestName(AfcOperation operation);

/// The request of that short name.
[[nodiscard]] std::optional<AfcOperation> afcRequestFromName(std::string_view name);

/// All requests, in the order of their numbers.
[[nodiscard]] std::span<const AfcOperation> afcRequests();

/// Short lower-case name of a status ("object-not-found"), empty for a number that is none.
[[nodiscard]] std::string_view afcStatusName(AfcStatus status);

/// The status of that short name.
[[nodiscard]] std::optional<AfcStatus> afcStatusFromName(std::string_view name);

}  // namespace quillbox::wire
