// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/AfcAdapter.h"

#include "Linux/Device/Files/FileRequests.h"
#include "Linux/Device/Lockdown/MainThreadCall.h"

#include <algorithm>
#include <utility>

namespace quillbox::device {

namespace {

using wire::AfcOperation;
using wire::AfcParameters;

thread_local AFCError lastFailureOfThread = kAFCSuccess;
thread_local bool earlyWritesOfThread = false;

AFCError note(AFCError error) {
    if (error != kAFCSuccess) {
        lastFailureOfThread = error;
    }
    return error;
}

}  // namespace

AFCError AfcAdapter::lastFailure() const {
    return lastFailureOfThread;
}

void AfcAdapter::forgetFailure() {
    lastFailureOfThread = kAFCSuccess;
}

template <typename Work>
AFCError AfcAdapter::onConnection(AFCConnectionRef connection, Work work) {
    const auto handle = handles_->connections.find(connection);
    if (!handle || !handle->opened) {
        return note(kAFCConnectionLost);
    }
    return note(callOffMainThread(workers_, handle->connection->device(),
                                  [used = handle->connection, work = std::move(work)]() mutable {
                                      return AFCError{work(*used)};
                                  })
                    .value_or(kAFCConnectionLost));
}

template <typename Work>
AFCError AfcAdapter::onFile(AFCConnectionRef connection, AFCFileRef file, Work work) {
    const auto handle = handles_->files.find(file);
    if (!handle || handle->owner != connection) {
        return note(kAFCConnectionLost);
    }
    return onConnection(connection, [handle, work = std::move(work)](AfcConnection&) mutable {
        return work(*handle);
    });
}

AFCError AfcAdapter::perform(AFCConnectionRef connection, AfcOperation operation,
                             AfcParameters parameters, InformationWindow::Change change) {
    return onConnection(connection, [operation, parameters = std::move(parameters),
                                     change = std::move(change)](AfcConnection& used) {
        return performRequest(used, operation, parameters, change);
    });
}

AFCError AfcAdapter::AFCConnectionOpen(AFCConnectionRef service, std::uint32_t /*ioTimeout*/,
                                       AFCConnectionRef* connection) {
    const auto started = handles_->connections.find(service);
    if (!started || started->opened || !started->connection->device()->isAttached()) {
        return note(kAFCConnectionLost);
    }
    auto opened = std::make_shared<ConnectionHandle>();
    opened->connection = started->connection;
    opened->opened = true;
    if (!handles_->connections.take(service)) {
        return note(kAFCConnectionLost);  // another thread closed it meanwhile
    }
    *connection = handles_->connections.add(std::move(opened));
    return kAFCSuccess;
}

AFCError AfcAdapter::AFCConnectionClose(AFCConnectionRef connection) {
    const auto handle = handles_->connections.find(connection);
    if (!handle || handle->closing.exchange(true)) {
        return note(kAFCConnectionLost);
    }
    if (handle->opened) {
        connectionEnds_(connection);
    }
    handles_->connections.take(connection);
    handles_->files.takeIf([&](const FileHandle& file) { return file.owner == connection; });
    handle->connection->close();
    return kAFCSuccess;
}

AFCError AfcAdapter::AFCDeviceInfoOpen(AFCConnectionRef connection, AFCKeyValueRef* info) {
    auto answer = std::make_shared<KeyValueHandle>();
    answer->owner = connection;
    const AFCError error = onConnection(
        connection, [answer](AfcConnection& used) { return readDeviceInfo(used, answer->pairs); });
    if (error == kAFCSuccess) {
        *info = handles_->keyValues.add(answer);
    }
    return error;
}

AFCError AfcAdapter::AFCFileInfoOpen(AFCConnectionRef connection, const std::string& path,
                                     AFCKeyValueRef* info) {
    auto answer = std::make_shared<KeyValueHandle>();
    answer->owner = connection;
    const AFCError error = onConnection(connection, [answer, path](AfcConnection& used) {
        return readFileInfo(used, path, *answer);
    });
    if (error == kAFCSuccess) {
        *info = handles_->keyValues.add(answer);
    }
    return error;
}

AFCError AfcAdapter::AFCKeyValueRead(AFCKeyValueRef info, const char** key, const char** value) {
    const auto answer = handles_->keyValues.find(info);
    if (!answer || !handles_->connections.find(answer->owner)) {
        return note(kAFCConnectionLost);
    }
    *key = nullptr;
    *value = nullptr;
    if (const std::size_t next = answer->next; next < answer->pairs.size()) {
        *key = answer->pairs[next].first.c_str();
        *value = answer->pairs[next].second.c_str();
        ++answer->next;
    }
    return kAFCSuccess;
}

AFCError AfcAdapter::AFCKeyValueClose(AFCKeyValueRef info) {
    const auto answer = handles_->keyValues.take(info);
    if (answer && answer->window && answer->next == 0) {
        // Only a test whether it is there: the next question gets what this one had.
        answer->window->wasNotRead(answer->information);
    }
    const bool known = answer && handles_->connections.find(answer->owner);
    return note(known ? kAFCSuccess : kAFCConnectionLost);
}

AFCError AfcAdapter::AFCDirectoryOpen(AFCConnectionRef connection, const std::string& path,
                                      AFCDirectoryRef* directory) {
    auto listing = std::make_shared<DirectoryHandle>();
    listing->owner = connection;
    const AFCError error = onConnection(connection, [listing, path](AfcConnection& used) {
        return listDirectory(used, path, listing->names);
    });
    if (error == kAFCSuccess) {
        *directory = handles_->directories.add(listing);
    }
    return error;
}

AFCError AfcAdapter::AFCDirectoryRead(AFCConnectionRef connection, AFCDirectoryRef directory,
                                      const char** name) {
    const auto listing = handles_->directories.find(directory);
    if (!listing || listing->owner != connection || !handles_->connections.find(connection)) {
        return note(kAFCConnectionLost);
    }
    *name = nullptr;
    if (const std::size_t next = listing->next; next < listing->names.size()) {
        *name = listing->names[next].c_str();
        ++listing->next;
    }
    return kAFCSuccess;
}

AFCError AfcAdapter::AFCDirectoryClose(AFCConnectionRef connection, AFCDirectoryRef directory) {
    const auto listing = handles_->directories.take(directory);
    const bool known =
        listing && listing->owner == connection && handles_->connections.find(connection);
    return note(known ? kAFCSuccess : kAFCConnectionLost);
}

AFCError AfcAdapter::AFCDirectoryCreate(AFCConnectionRef connection, const std::string& path) {
    return perform(connection, AfcOperation::MakeDirectory, AfcParameters{}.path(path),
                   {.path = path, .mayAppear = true, .isFolder = true});
}

AFCError AfcAdapter::AFCFileRefOpen(AFCConnectionRef connection, const std::string& path,
                                    std::uint64_t mode, AFCFileRef* file) {
    const auto handle = handles_->connections.find(connection);
    if (!handle || !handle->opened) {
        return note(kAFCConnectionLost);
    }
    auto opened = std::make_shared<FileHandle>();
    opened->connection = handle->connection;
    opened->owner = connection;
    opened->path = path;
    opened->mode = mode;
    const AFCError error =
        onConnection(connection, [opened](AfcConnection&) { return openFile(*opened); });
    if (error == kAFCSuccess) {
        *file = handles_->files.add(opened);
        if (handle->closing) {
            // Closed meanwhile: nobody else will take it out.
            handles_->files.take(*file);
            return note(kAFCConnectionLost);
        }
    }
    return error;
}

AFCError AfcAdapter::AFCFileRefSeek(AFCConnectionRef connection, AFCFileRef file,
                                    std::int64_t offset, std::uint64_t whence) {
    return onFile(connection, file, [offset, whence](FileHandle& handle) {
        return seekFile(handle, offset, whence);
    });
}

AFCError AfcAdapter::AFCFileRefRead(AFCConnectionRef connection, AFCFileRef file, void* buffer,
                                    std::uint64_t* length) {
    const auto handle = handles_->files.find(file);
    if (!handle || handle->owner != connection) {
        return note(kAFCConnectionLost);
    }
    const std::span into{static_cast<std::byte*>(buffer), *length};
    if (!handle->connection->device()->platform().isMainThread()) {
        std::size_t moved = 0;
        const AFCError error = note(readFile(*handle, into, moved));
        if (error == kAFCSuccess) {
            *length = moved;
        }
        return error;
    }

    // The wait may end first: then the answer must not arrive in a buffer that is gone.
    struct Read {
        wire::Bytes bytes;
        std::size_t moved = 0;
    };

    auto read = std::make_shared<Read>();
    read->bytes.resize(into.size());
    const AFCError error = onFile(connection, file, [read](FileHandle& used) {
        return readFile(used, read->bytes, read->moved);
    });
    if (error == kAFCSuccess) {
        std::copy_n(read->bytes.begin(), read->moved, into.begin());
        *length = read->moved;
    }
    return error;
}

AFCError AfcAdapter::AFCFileRefWrite(AFCConnectionRef connection, AFCFileRef file,
                                     const void* buffer, std::uint64_t length) {
    const auto handle = handles_->files.find(file);
    if (!handle || handle->owner != connection) {
        return note(kAFCConnectionLost);
    }
    const wire::ByteView bytes{static_cast<const std::byte*>(buffer), length};
    if (!handle->connection->device()->platform().isMainThread()) {
        return note(writeFile(*handle, bytes, earlyWritesOfThread));
    }
    // The wait may end first: then the bytes must still be there.
    auto copy = std::make_shared<wire::Bytes>(bytes.begin(), bytes.end());
    return onFile(connection, file,
                  [copy](FileHandle& used) { return writeFile(used, *copy, false); });
}

AFCError AfcAdapter::AFCFileRefSetFileSize(AFCConnectionRef connection, AFCFileRef file,
                                           std::uint64_t size) {
    return onFile(connection, file,
                  [size](FileHandle& handle) { return setFileSize(handle, size); });
}

AFCError AfcAdapter::AFCFileRefClose(AFCConnectionRef connection, AFCFileRef file) {
    const auto handle = handles_->files.find(file);
    if (!handle || handle->owner != connection || !handles_->files.take(file)) {
        return note(kAFCConnectionLost);
    }
    return onConnection(connection, [handle](AfcConnection&) { return closeFile(*handle); });
}

void AfcAdapter::answerWritesEarly(bool early) {
    earlyWritesOfThread = early;
}

AFCError AfcAdapter::AFCFileRefSettle(AFCConnectionRef connection, AFCFileRef file) {
    return onFile(connection, file, [](FileHandle& handle) { return settleFile(handle); });
}

void AfcAdapter::AFCConnectionTakeArrived(AFCConnectionRef connection) {
    const auto handle = handles_->connections.find(connection);
    if (const auto client = handle ? handle->connection->clientAtHand() : nullptr) {
        client->takeArrived();
    }
}

AFCError AfcAdapter::AFCRenamePath(AFCConnectionRef connection, const std::string& from,
                                   const std::string& to) {
    return perform(connection, AfcOperation::Rename, AfcParameters{}.path(from).path(to),
                   {.path = to, .oldPath = from, .mayAppear = true, .namesChange = true});
}

AFCError AfcAdapter::AFCRemovePath(AFCConnectionRef connection, const std::string& path) {
    return perform(connection, AfcOperation::RemovePath, AfcParameters{}.path(path),
                   {.oldPath = path, .namesChange = true});
}

AFCError AfcAdapter::AFCLinkPath(AFCConnectionRef connection, AFCLinkType type,
                                 const std::string& first, const std::string& second) {
    // The wire wants the target and then the link's name, whatever the kind.
    const bool hard = type == kAFCHardLink;
    return perform(
        connection, AfcOperation::MakeLink,
        AfcParameters{}.word(type).path(hard ? first : second).path(hard ? second : first),
        {.path = hard ? second : first, .mayAppear = true, .makesAlias = hard});
}

AFCError AfcAdapter::AFCTruncatePath(AFCConnectionRef connection, const std::string& path,
                                     std::uint64_t size) {
    return perform(connection, AfcOperation::TruncatePath, AfcParameters{}.word(size).path(path),
                   {.path = path, .isContent = true});
}

AFCError AfcAdapter::AFCSetModificationTime(AFCConnectionRef connection, const std::string& path,
                                            std::uint64_t nanoseconds) {
    return perform(connection, AfcOperation::SetModificationTime,
                   AfcParameters{}.word(nanoseconds).path(path), {.path = path});
}

}  // namespace quillbox::device
