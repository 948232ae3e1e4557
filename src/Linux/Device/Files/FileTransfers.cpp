// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/FileTransfers.h"

#include <algorithm>
#include <array>
#include <limits>

namespace quillbox::device {

namespace {

using wire::AfcOperation;
using wire::AfcParameters;

/// Most bytes of one file that are written and not answered.
constexpr std::size_t kMostUnanswered = 4U << 20U;
/// The largest places that every device reaches. Whether a seek farther out succeeds is asked
/// before anything is written.
constexpr std::uint64_t kSurelyReached = 1ULL << 40U;

bool appends(const FileHandle& file) {
    return file.mode >= static_cast<std::uint64_t>(wire::AfcOpenMode::Append);
}

/// Reads with requests of its own, straight into the caller's buffer.
AFCError readDirectly(FileHandle& file, AfcClient& client, std::span<std::byte> into,
                      std::size_t& moved) {
    if (file.position) {
        if (const AFCError error = file.device.moveTo(client, *file.position, file.seeks);
            error != kAFCSuccess) {
            return error;
        }
    }
    while (moved < into.size()) {
        const std::size_t step = std::min(into.size() - moved, kMaxTransfer);
        AfcAnswer answer;
        answer.expected = AfcOperation::Data;
        answer.into = into.subspan(moved, step);
        AFCError error = client.ask(AfcOperation::FileRead,
                                    words(file.device.handle, std::uint64_t{step}), answer);
        // A seek that failed was answered before; what was read then comes from elsewhere.
        if (const AFCError seek = client.settle(file.seeks, SIZE_MAX); seek != kAFCSuccess) {
            error = seek;
        }
        if (error == kAFCEndOfData) {
            file.device.place.reset();
            return kAFCSuccess;
        }
        if (error != kAFCSuccess) {
            file.device.place.reset();
            return error;
        }
        moved += answer.moved;
        if (file.device.place) {
            *file.device.place += answer.moved;
        }
        if (answer.moved < step) {
            break;
        }
    }
    return kAFCSuccess;
}

bool isOnlyRead(const FileHandle& file) {
    return file.mode == static_cast<std::uint64_t>(wire::AfcOpenMode::Read);
}

/// Tells what was done first with a file that was opened to be read.
void noteUse(FileHandle& file, AfcClient& client, bool isReadFromBeginning) {
    if (!file.isUsed && isOnlyRead(file)) {
        client.fileNumbers().used(isReadFromBeginning);
    }
    file.isUsed = true;
}

/// Opens a file that is only read, and asks for its beginning with the same packet where its number
/// can be guessed.
AFCError openToRead(FileHandle& file, const AfcConnection::Use& use,
                    const AfcParameters& parameters, AfcAnswer& answer) {
    FileNumbers& numbers = use.client->fileNumbers();
    const auto opening = numbers.begin(true);
    // Whoever changes the file from now on makes its beginning stale.
    file.mark = use.window->marks().opened(file.path);
    std::shared_ptr<ReadAhead::Chunk> first;
    AFCError error = kAFCSuccess;
    if (opening.guess) {
        first = ReadAhead::firstChunk();
        const auto request = words(*opening.guess, std::uint64_t{ReadAhead::kFirst});
        const AfcClient::Behind behind{AfcOperation::FileRead, request, first};
        error = use.client->ask(AfcOperation::FileOpen, parameters.bytes(), answer, &behind);
    } else {
        error = use.client->ask(AfcOperation::FileOpen, parameters.bytes(), answer);
    }
    if (error != kAFCSuccess) {
        file.mark.reset();
        return error;
    }
    numbers.opened(answer.word);
    file.device = {answer.word, 0, true};
    if (opening.guess == answer.word) {
        file.ahead.adopt(file.device, std::move(first));
    }
    return kAFCSuccess;
}

/// Opens a file that may be made, cut or written.
AFCError openToChange(FileHandle& file, const AfcConnection::Use& use,
                      const AfcParameters& parameters, AfcAnswer& answer) {
    FileNumbers& numbers = use.client->fileNumbers();
    const auto opening = numbers.begin(false);
    const AFCError error =
        use.window->change(*use.client, AfcOperation::FileOpen, parameters, answer,
                           {.path = file.path, .mayAppear = true, .isContent = true});
    if (error == kAFCSuccess) {
        numbers.opened(answer.word);
        file.device = {answer.word, 0, !appends(file)};
        file.mark = use.window->marks().opened(file.path);
    }
    return error;
}

}  // namespace

AFCError clientOf(FileHandle& file, std::shared_ptr<AfcClient>& client) {
    if (file.connection->isClosed() || !file.connection->device()->isAttached()) {
        return kAFCConnectionLost;
    }
    client = file.connection->sameClient(file.generation);
    return client ? AFCError{kAFCSuccess} : AFCError{kAFCIOError};
}

AFCError openOnDevice(FileHandle& file) {
    AfcConnection::Use use;
    if (const AFCError error = file.connection->use(use); error != kAFCSuccess) {
        return error;
    }
    const AfcParameters parameters = AfcParameters{}.word(file.mode).path(file.path);
    if (!parameters.valid()) {
        return kAFCInvalidArgument;
    }
    file.generation = use.generation;
    AfcAnswer answer;
    answer.expected = AfcOperation::FileOpenResult;
    const AFCError error = isOnlyRead(file) ? openToRead(file, use, parameters, answer)
                                            : openToChange(file, use, parameters, answer);
    if (error != kAFCSuccess) {
        return error;
    }
    file.position = 0;
    return kAFCSuccess;
}

AFCError readOnDevice(FileHandle& file, std::span<std::byte> into, std::size_t& moved) {
    moved = 0;
    std::shared_ptr<AfcClient> client;
    if (const AFCError error = clientOf(file, client); error != kAFCSuccess) {
        return error;
    }
    if (file.mark->stale.exchange(false)) {
        file.ahead.drop(file.device);
    }
    if (!file.position) {
        return readDirectly(file, *client, into, moved);
    }
    const std::uint64_t offset = *file.position;
    noteUse(file, *client, offset == 0);
    AFCError error = kAFCSuccess;
    bool isRead = false;
    if (!into.empty() && file.device.fixed && file.ahead.wants(file.device, offset)) {
        error = file.ahead.read(*client, file.device, offset, into, moved);
        // What could not be asked ahead is asked now.
        isRead = error != kAFCConnectionLost || client->isBroken();
    }
    if (!isRead) {
        moved = 0;
        error = readDirectly(file, *client, into, moved);
    }
    if (error == kAFCSuccess) {
        file.ahead.wasRead(offset, moved);
        file.position = offset + moved;
    }
    return error;
}

AFCError writeOnDevice(FileHandle& file, wire::ByteView bytes, bool early) {
    std::shared_ptr<AfcClient> client;
    if (const AFCError error = clientOf(file, client); error != kAFCSuccess) {
        return error;
    }
    file.ahead.drop(file.device);
    const auto window = file.connection->window(file.generation);
    if (window) {
        window->fileChanges(*file.mark);
    }
    // An earlier failure is told before more is written.
    AFCError error = client->settle(file.writes, SIZE_MAX);
    if (error == kAFCSuccess && file.position) {
        error = file.device.moveTo(*client, *file.position, file.writes);
        if (error == kAFCSuccess && *file.position > kSurelyReached) {
            error = client->settle(file.writes, 0);
        }
    }
    while (error == kAFCSuccess && !bytes.empty()) {
        const std::size_t step = std::min(bytes.size(), kMaxTransfer);
        error = client->sendBehind(AfcOperation::FileWrite, words(file.device.handle),
                                   bytes.first(step), file.writes);
        bytes = bytes.subspan(step);
        if (file.device.place) {
            *file.device.place += step;
        }
        if (file.position) {
            *file.position += step;
        }
        if (early && error == kAFCSuccess) {
            error = client->settle(file.writes, kMostUnanswered);
        }
    }
    if (error == kAFCSuccess && !early) {
        error = client->settle(file.writes, 0);
    }
    if (window) {
        // What another thread was told meanwhile may be older than the write.
        window->fileChanges(*file.mark);
    }
    if (error != kAFCSuccess) {
        file.device.place.reset();
    }
    return error;
}

AFCError settleOnDevice(FileHandle& file) {
    std::shared_ptr<AfcClient> client;
    const AFCError known = clientOf(file, client);
    if (known != kAFCSuccess) {
        return known;
    }
    const AFCError error = client->settle(file.writes, 0);
    if (error != kAFCSuccess) {
        file.device.place.reset();
    }
    return error;
}

AFCError seekOnDevice(FileHandle& file, std::int64_t offset, std::uint64_t whence) {
    std::shared_ptr<AfcClient> client;
    if (const AFCError error = clientOf(file, client); error != kAFCSuccess) {
        return error;
    }
    if (whence == static_cast<std::uint64_t>(wire::AfcWhence::Set) && offset >= 0 &&
        file.device.fixed) {
        file.position = static_cast<std::uint64_t>(offset);
        return kAFCSuccess;
    }
    // Where that is only the device can tell, and from where the user left off.
    file.ahead.drop(file.device);
    if (file.position && whence == static_cast<std::uint64_t>(wire::AfcWhence::Current)) {
        if (const AFCError error = file.device.moveTo(*client, *file.position, file.writes);
            error != kAFCSuccess) {
            return error;
        }
    }
    AfcAnswer answer;
    const AFCError error =
        client->ask(AfcOperation::FileSeek,
                    words(file.device.handle, whence, static_cast<std::uint64_t>(offset)), answer);
    file.device.place.reset();
    if (error == kAFCSuccess) {
        file.position.reset();
    }
    return error;
}

AFCError setSizeOnDevice(FileHandle& file, std::uint64_t size) {
    std::shared_ptr<AfcClient> client;
    if (const AFCError error = clientOf(file, client); error != kAFCSuccess) {
        return error;
    }
    file.ahead.drop(file.device);
    const AfcParameters parameters = AfcParameters{}.word(file.device.handle).word(size);
    const auto window = file.connection->window(file.generation);
    AfcAnswer answer;
    if (!window) {
        return client->ask(AfcOperation::FileSetSize, parameters.bytes(), answer);
    }
    window->fileChanges(*file.mark);
    return window->change(*client, AfcOperation::FileSetSize, parameters, answer,
                          {.path = file.mark->moved ? std::string{} : file.path});
}

AFCError closeOnDevice(FileHandle& file) {
    std::shared_ptr<AfcClient> client;
    if (const AFCError error = clientOf(file, client); error != kAFCSuccess) {
        return error;
    }
    file.ahead.drop(file.device);
    noteUse(file, *client, false);
    file.mark.reset();
    const AFCError written = client->settle(file.writes, 0);
    if (const auto window = file.connection->window(file.generation)) {
        window->closed(file.path);
    }
    const AFCError error =
        client->sendBehind(AfcOperation::FileClose, words(file.device.handle), {}, nullptr);
    client->fileNumbers().closed(file.device.handle);
    return written != kAFCSuccess ? written : error;
}

}  // namespace quillbox::device
