// SPDX-License-Identifier: GPL-3.0-or-later
#include "AfcRequests.h"

#include "Wire/AfcLists.h"

#include <sys/file.h>

#include <algorithm>
#include <cerrno>

namespace quillbox::simulator {
namespace {

using wire::AfcOperation;
using wire::AfcStatus;

/// No longer one is asked for.
constexpr std::uint64_t kLongestRequest = 64U << 20U;
/// Files that one connection may have open.
constexpr std::size_t kMostOpenFiles = 256;

AfcStatus statusOfResult(long result) {
    return result == -1 ? AfcFiles::statusOf(errno) : AfcStatus::Success;
}

AfcAnswer readFile(int file, std::uint64_t length, std::uint64_t longest) {
    if (length > kLongestRequest) {
        return AfcAnswer::status(AfcStatus::NoResources);
    }
    wire::Bytes data(std::min(length, longest));
    std::size_t filled = 0;
    while (filled < data.size()) {
        const ssize_t got = ::read(file, data.data() + filled, data.size() - filled);
        if (got < 0) {
            return AfcAnswer::status(errno == EBADF ? AfcStatus::PermissionDenied
                                                    : AfcFiles::statusOf(errno));
        }
        if (got == 0) {
            break;
        }
        filled += static_cast<std::size_t>(got);
    }
    data.resize(filled);
    return AfcAnswer::bulk(std::move(data));
}

AfcStatus writeFile(int file, wire::ByteView data) {
    while (!data.empty()) {
        const ssize_t sent = ::write(file, data.data(), data.size());
        if (sent < 0) {
            return errno == EBADF ? AfcStatus::PermissionDenied : AfcFiles::statusOf(errno);
        }
        data = data.subspan(static_cast<std::size_t>(sent));
    }
    return AfcStatus::Success;
}

AfcStatus seekFile(int file, std::uint64_t whence, std::uint64_t offset) {
    int origin = 0;
    switch (static_cast<wire::AfcWhence>(whence)) {
    case wire::AfcWhence::Set:
        origin = SEEK_SET;
        break;
    case wire::AfcWhence::Current:
        origin = SEEK_CUR;
        break;
    case wire::AfcWhence::End:
        origin = SEEK_END;
        break;
    default:
        return AfcStatus::InvalidArgument;
    }
    return statusOfResult(::lseek(file, static_cast<off_t>(offset), origin));
}

AfcStatus lockFile(int file, std::uint64_t operation) {
    switch (static_cast<wire::AfcLock>(operation)) {
    case wire::AfcLock::Shared:
        return statusOfResult(::flock(file, LOCK_SH | LOCK_NB));
    case wire::AfcLock::Exclusive:
        return statusOfResult(::flock(file, LOCK_EX | LOCK_NB));
    case wire::AfcLock::Unlock:
        return statusOfResult(::flock(file, LOCK_UN));
    }
    return AfcStatus::InvalidArgument;
}

}  // namespace

AfcAnswer AfcAnswer::status(AfcStatus status) {
    return word(AfcOperation::Status, static_cast<std::uint64_t>(status));
}

AfcAnswer AfcAnswer::word(AfcOperation operation, std::uint64_t value) {
    AfcAnswer answer;
    answer.operation = operation;
    wire::appendLittle(answer.parameters, value);
    return answer;
}

AfcAnswer AfcAnswer::bulk(wire::Bytes data) {
    AfcAnswer answer;
    answer.operation = AfcOperation::Data;
    answer.data = std::move(data);
    return answer;
}

AfcRequests::AfcRequests(AfcArea area, const Device& device)
    : files_{std::move(area)}, device_{device} {}

AfcAnswer AfcRequests::answer(AfcOperation operation, wire::ByteView parameters,
                              wire::ByteView data) {
    const Reader reader{parameters};
    switch (operation) {
    case AfcOperation::DeviceInfo:
        return deviceInfo();
    case AfcOperation::FileOpen:
        return openFile(reader);
    case AfcOperation::ReadDirectory:
    case AfcOperation::RemovePath:
    case AfcOperation::RemovePathAndContents:
    case AfcOperation::MakeDirectory:
    case AfcOperation::FileInfo:
    case AfcOperation::TruncatePath:
    case AfcOperation::SetModificationTime:
        return answerPath(operation, reader);
    case AfcOperation::Rename:
    case AfcOperation::MakeLink:
        return twoPaths(operation, reader);
    case AfcOperation::FileRead:
    case AfcOperation::FileWrite:
    case AfcOperation::FileSeek:
    case AfcOperation::FileTell:
    case AfcOperation::FileClose:
    case AfcOperation::FileSetSize:
    case AfcOperation::FileLock:
        return answerHandle(operation, reader, data);
    case AfcOperation::Status:
    case AfcOperation::Data:
    case AfcOperation::FileOpenResult:
    case AfcOperation::FileTellResult:
        return AfcAnswer::status(AfcStatus::UnknownPacketType);
    }
    return AfcAnswer::status(AfcStatus::OperationNotSupported);
}

AfcAnswer AfcRequests::deviceInfo() const {
    const DeviceDescription& description = device_.description();
    const std::array<wire::KeyValue, 4> keys{
        wire::KeyValue{"Model", description.productType},
        wire::KeyValue{"FSTotalBytes", std::to_string(description.totalBytes)},
        wire::KeyValue{"FSFreeBytes", std::to_string(device_.freeBytes())},
        wire::KeyValue{"FSBlockSize", "4096"}};
    return AfcAnswer::bulk(wire::joinKeyValues(keys));
}

AfcAnswer AfcRequests::answerPath(AfcOperation operation, Reader reader) {
    std::uint64_t number = 0;
    if (operation == AfcOperation::TruncatePath || operation == AfcOperation::SetModificationTime) {
        const auto word = reader.word();
        if (!word) {
            return AfcAnswer::status(AfcStatus::InvalidArgument);
        }
        number = *word;
    }
    const auto path = reader.path();
    if (!path) {
        return AfcAnswer::status(AfcStatus::InvalidArgument);
    }
    if (operation == AfcOperation::ReadDirectory) {
        std::vector<std::string> names;
        const AfcStatus status = files_.list(*path, names);
        return status == AfcStatus::Success ? AfcAnswer::bulk(wire::joinNames(names))
                                            : AfcAnswer::status(status);
    }
    if (operation == AfcOperation::FileInfo) {
        std::vector<wire::KeyValue> keys;
        const AfcStatus status = files_.info(*path, keys);
        return status == AfcStatus::Success ? AfcAnswer::bulk(wire::joinKeyValues(keys))
                                            : AfcAnswer::status(status);
    }
    switch (operation) {
    case AfcOperation::TruncatePath:
        return AfcAnswer::status(files_.truncate(*path, number));
    case AfcOperation::SetModificationTime:
        return AfcAnswer::status(
            files_.setModificationTime(*path, static_cast<std::int64_t>(number)));
    case AfcOperation::RemovePath:
        return AfcAnswer::status(files_.remove(*path));
    case AfcOperation::RemovePathAndContents:
        return AfcAnswer::status(files_.removeAll(*path));
    default:
        return AfcAnswer::status(files_.makeDirectory(*path));
    }
}

AfcAnswer AfcRequests::twoPaths(AfcOperation operation, Reader reader) {
    std::optional<std::uint64_t> type = 0;
    if (operation == AfcOperation::MakeLink) {
        type = reader.word();
    }
    const auto first = reader.path();
    const auto second = reader.path();
    if (!type || !first || !second) {
        return AfcAnswer::status(AfcStatus::InvalidArgument);
    }
    if (operation == AfcOperation::Rename) {
        return AfcAnswer::status(files_.rename(*first, *second));
    }
    switch (static_cast<wire::AfcLinkType>(*type)) {
    case wire::AfcLinkType::Hard:
        return AfcAnswer::status(files_.makeHardLink(*first, *second));
    case wire::AfcLinkType::Symbolic:
        return AfcAnswer::status(files_.makeSymbolicLink(*first, *second));
    }
    return AfcAnswer::status(AfcStatus::InvalidArgument);
}

AfcAnswer AfcRequests::openFile(Reader reader) {
    const auto mode = reader.word();
    const auto path = reader.path();
    if (!mode || !path) {
        return AfcAnswer::status(AfcStatus::InvalidArgument);
    }
    if (open_.size() >= kMostOpenFiles) {
        return AfcAnswer::status(AfcStatus::NoResources);
    }
    UniqueFd file;
    const AfcStatus status = files_.open(*path, static_cast<wire::AfcOpenMode>(*mode), file);
    if (status != AfcStatus::Success) {
        return AfcAnswer::status(status);
    }
    const std::uint64_t handle = nextHandle_++;
    open_[handle] = std::move(file);
    return AfcAnswer::word(AfcOperation::FileOpenResult, handle);
}

AfcAnswer AfcRequests::answerHandle(AfcOperation operation, Reader reader, wire::ByteView data) {
    const auto handle = reader.word();
    const auto found = handle ? open_.find(*handle) : open_.end();
    if (found == open_.end()) {
        return AfcAnswer::status(AfcStatus::InvalidArgument);
    }
    const int file = found->second.get();
    const auto first = reader.word();
    switch (operation) {
    case AfcOperation::FileTell: {
        const off_t position = ::lseek(file, 0, SEEK_CUR);
        return position < 0 ? AfcAnswer::status(AfcFiles::statusOf(errno))
                            : AfcAnswer::word(AfcOperation::FileTellResult,
                                              static_cast<std::uint64_t>(position));
    }
    case AfcOperation::FileClose:
        open_.erase(found);
        return AfcAnswer::status(AfcStatus::Success);
    case AfcOperation::FileWrite:
        return AfcAnswer::status(writeFile(file, data));
    default:
        break;
    }
    const auto second = reader.word();
    if (!first || (operation == AfcOperation::FileSeek && !second)) {
        return AfcAnswer::status(AfcStatus::InvalidArgument);
    }
    switch (operation) {
    case AfcOperation::FileRead:
        return readFile(file, *first, device_.description().longestRead);
    case AfcOperation::FileSeek:
        return AfcAnswer::status(seekFile(file, *first, *second));
    case AfcOperation::FileLock:
        return AfcAnswer::status(lockFile(file, *first));
    default:
        return AfcAnswer::status(statusOfResult(::ftruncate(file, static_cast<off_t>(*first))));
    }
}

}  // namespace quillbox::simulator
