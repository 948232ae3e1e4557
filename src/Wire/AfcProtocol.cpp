// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcProtocol.h"

#include <array>
#include <utility>

namespace quillbox::wire {
namespace {

constexpr std::array kRequests{AfcOperation::ReadDirectory,
                               AfcOperation::TruncatePath,
                               AfcOperation::RemovePath,
                               AfcOperation::MakeDirectory,
                               AfcOperation::FileInfo,
                               AfcOperation::DeviceInfo,
                               AfcOperation::FileOpen,
                               AfcOperation::FileRead,
                               AfcOperation::FileWrite,
                               AfcOperation::FileSeek,
                               AfcOperation::FileTell,
                               AfcOperation::FileClose,
                               AfcOperation::FileSetSize,
                               AfcOperation::Rename,
                               AfcOperation::FileLock,
                               AfcOperation::MakeLink,
                               AfcOperation::SetModificationTime,
                               AfcOperation::RemovePathAndContents};

constexpr std::array<std::string_view, kRequests.size()> kRequestNames{
    "read-directory", "truncate", "remove", "make-directory", "file-info", "device-info",
    "open",           "read",     "write",  "seek",           "tell",      "close",
    "set-size",       "rename",   "lock",   "link",           "set-time",  "remove-all"};

using StatusName = std::pair<AfcStatus, std::string_view>;

constexpr std::array kStatusNames{
    StatusName{AfcStatus::Success, "success"},
    StatusName{AfcStatus::UnknownError, "unknown-error"},
    StatusName{AfcStatus::MalformedHeader, "malformed-header"},
    StatusName{AfcStatus::NoResources, "no-resources"},
    StatusName{AfcStatus::ReadError, "read-error"},
    StatusName{AfcStatus::WriteError, "write-error"},
    StatusName{AfcStatus::UnknownPacketType, "unknown-packet-type"},
    StatusName{AfcStatus::InvalidArgument, "invalid-argument"},
    StatusName{AfcStatus::ObjectNotFound, "object-not-found"},
    StatusName{AfcStatus::ObjectIsDirectory, "object-is-directory"},
    StatusName{AfcStatus::PermissionDenied, "permission-denied"},
    StatusName{AfcStatus::ServiceNotConnected, "service-not-connected"},
    StatusName{AfcStatus::TimedOut, "timed-out"},
    StatusName{AfcStatus::TooMuchData, "too-much-data"},
    StatusName{AfcStatus::EndOfData, "end-of-data"},
    StatusName{AfcStatus::OperationNotSupported, "operation-not-supported"},
    StatusName{AfcStatus::ObjectExists, "object-exists"},
    StatusName{AfcStatus::ObjectBusy, "object-busy"},
    StatusName{AfcStatus::NoSpaceLeft, "no-space-left"},
    StatusName{AfcStatus::WouldBlock, "would-block"},
    StatusName{AfcStatus::IoError, "io-error"},
    StatusName{AfcStatus::Interrupted, "interrupted"},
    StatusName{AfcStatus::InProgress, "in-progress"},
    StatusName{AfcStatus::InternalError, "internal-error"},
    StatusName{AfcStatus::MultiplexerError, "multiplexer-error"},
    StatusName{AfcStatus::NoMemory, "no-memory"},
    StatusName{AfcStatus::NotEnoughData, "not-enough-data"},
    StatusName{AfcStatus::DirectoryNotEmpty, "directory-not-empty"}};

}  // namespace

std::string_view afcRequestName(AfcOperation operation) {
    for (std::size_t i = 0; i < kRequests.size(); ++i) {
        if (kRequests[i] == operation) {
            return kRequestNames[i];
        }
    }
    return {};
}

std::optional<AfcOperation> afcRequestFromName(std::string_view name) {
    for (std::size_t i = 0; i < kRequestNames.size(); ++i) {
        if (kRequestNames[i] == name) {
            return kRequests[i];
        }
    }
    return std::nullopt;
}

std::span<const AfcOperation> afcRequests() {
    return kRequests;
}

std::string_view afcStatusName(AfcStatus status) {
    for (const auto& [known, name] : kStatusNames) {
        if (known == status) {
            return name;
        }
    }
    return {};
}

std::optional<AfcStatus> afcStatusFromName(std::string_view name) {
    for (const auto& [status, known] : kStatusNames) {
        if (known == name) {
            return status;
        }
    }
    return std::nullopt;
}

}  // namespace quillbox::wire
