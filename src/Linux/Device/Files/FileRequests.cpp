// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/FileRequests.h"

#include "Linux/Device/Files/FileTransfers.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace quillbox::device {

namespace {

using wire::AfcOperation;
using wire::AfcParameters;

constexpr std::string_view kPicturePath = "/iTunesArtwork";
constexpr std::string_view kDocumentsPath = "/Documents";

bool isTop(const std::string& path) {
    return path.find_first_not_of('/') == std::string::npos;
}

/// Names that never reach a local directory; "." and ".." are the user's to drop.
bool isUsable(const std::string& name) {
    return name == "." || name == ".." || wire::isUsableEntryName(name);
}

bool isPicture(AfcConnection& connection, const std::string& path) {
    return connection.isApplication() && path == kPicturePath;
}

/// A device that gives an application's documents only says of everything else that it is not
/// permitted: then the picture is not there for us.
bool isAbsent(AfcConnection& connection, AFCError error) {
    return error == kAFCObjectNotFound ||
           (error == kAFCPermissionDenied && connection.isDocumentsOnly());
}

std::vector<wire::KeyValue> pictureInfo(std::size_t size) {
    constexpr std::size_t kBlock = 512;
    return {{"st_size", std::to_string(size)},
            {"st_blocks", std::to_string((size + kBlock - 1) / kBlock)},
            {"st_nlink", "1"},
            {"st_ifmt", "S_IFREG"},
            {"st_mtime", "0"},
            {"st_birthtime", "0"}};
}

/// Makes a real file of a picture that is to be changed: nothing is on the device before.
AFCError makeReal(FileHandle& file) {
    if (file.mode == static_cast<std::uint64_t>(wire::AfcOpenMode::Read)) {
        return kAFCPermissionDenied;
    }
    if (const AFCError error = openOnDevice(file); error != kAFCSuccess) {
        return error;
    }
    const std::uint64_t position = file.picture->position;
    file.picture.reset();
    return seekOnDevice(file, static_cast<std::int64_t>(position), 0);
}

AFCError seekPicture(PictureFile& picture, std::int64_t offset, std::uint64_t whence) {
    std::int64_t base = 0;
    if (whence == static_cast<std::uint64_t>(wire::AfcWhence::Current)) {
        base = static_cast<std::int64_t>(picture.position);
    } else if (whence == static_cast<std::uint64_t>(wire::AfcWhence::End)) {
        base = static_cast<std::int64_t>(picture.bytes->size());
    } else if (whence != static_cast<std::uint64_t>(wire::AfcWhence::Set)) {
        return kAFCInvalidArgument;
    }
    if (offset > 0 ? base > std::numeric_limits<std::int64_t>::max() - offset : base + offset < 0) {
        return kAFCInvalidArgument;
    }
    picture.position = static_cast<std::uint64_t>(base + offset);
    return kAFCSuccess;
}

}  // namespace

AFCError performRequest(AfcConnection& connection, AfcOperation operation,
                        const AfcParameters& parameters, const InformationWindow::Change& change) {
    AfcConnection::Use use;
    if (const AFCError error = connection.use(use); error != kAFCSuccess) {
        return error;
    }
    AfcAnswer answer;
    return use.window->change(*use.client, operation, parameters, answer, change);
}

AFCError listDirectory(AfcConnection& connection, const std::string& path,
                       std::vector<std::string>& names) {
    AfcConnection::Use use;
    if (const AFCError error = connection.use(use); error != kAFCSuccess) {
        return error;
    }
    if (connection.isDocumentsOnly() && isTop(path)) {
        names = {".", "..", std::string{kDocumentsPath.substr(1)}};
        return kAFCSuccess;
    }
    if (const AFCError error = use.window->list(*use.client, path, names); error != kAFCSuccess) {
        return error;
    }
    const auto dropped = std::erase_if(names, [](const auto& name) { return !isUsable(name); });
    if (dropped > 0) {
        Device& device = *connection.device();
        device.platform().warning(device.label() + ": " + std::to_string(dropped) +
                                  " impossible names were left out of the listing of \"" + path +
                                  "\".");
    }
    return kAFCSuccess;
}

AFCError readDeviceInfo(AfcConnection& connection, std::vector<wire::KeyValue>& pairs) {
    AfcConnection::Use use;
    if (const AFCError error = connection.use(use); error != kAFCSuccess) {
        return error;
    }
    AfcAnswer answer;
    answer.expected = AfcOperation::Data;
    answer.collects = true;
    if (const AFCError error = use.client->ask(AfcOperation::DeviceInfo, {}, answer);
        error != kAFCSuccess) {
        return error;
    }
    auto split = wire::splitKeyValues(answer.collected);
    if (!split) {
        return use.client->breakFor("a malformed answer: " +
                                    std::string{wire::describe(split.error())});
    }
    pairs = std::move(*split);
    return kAFCSuccess;
}

AFCError readFileInfo(AfcConnection& connection, const std::string& path, KeyValueHandle& answer) {
    AfcConnection::Use use;
    if (const AFCError error = connection.use(use); error != kAFCSuccess) {
        return error;
    }
    const bool isVirtualTop = connection.isDocumentsOnly() && isTop(path);
    const std::string asked{isVirtualTop ? kDocumentsPath : std::string_view{path}};
    const AFCError error =
        use.window->information(*use.client, asked, answer.information, answer.pairs);
    if (isVirtualTop && error != kAFCSuccess && error != kAFCConnectionLost) {
        // Locked documents do not make the top a thing that is not there.
        answer.pairs = {{"st_size", "0"},       {"st_blocks", "0"}, {"st_nlink", "3"},
                        {"st_ifmt", "S_IFDIR"}, {"st_mtime", "0"},  {"st_birthtime", "0"}};
        return kAFCSuccess;
    }
    if (isPicture(connection, path) && isAbsent(connection, error)) {
        const auto picture = connection.picture();
        if (!picture) {
            return kAFCObjectNotFound;
        }
        answer.pairs = pictureInfo(picture->size());
        return kAFCSuccess;
    }
    if (error == kAFCSuccess) {
        answer.window = use.window;
    }
    return error;
}

AFCError openFile(FileHandle& file) {
    const std::lock_guard lock{file.mutex};
    AfcConnection& connection = *file.connection;
    // Writing modes make the file; modes 1 and 2 find the picture where the device has no such
    // file. Mode 2 would make an empty one, so existence is asked first.
    if (isPicture(connection, file.path) &&
        file.mode <= static_cast<std::uint64_t>(wire::AfcOpenMode::ReadWrite)) {
        AfcConnection::Use use;
        std::vector<wire::KeyValue> pairs;
        InformationWindow::Answer answer;
        AFCError error = connection.use(use);
        if (error == kAFCSuccess) {
            error = use.window->information(*use.client, file.path, answer, pairs);
        }
        if (isAbsent(connection, error)) {
            const auto picture = connection.picture();
            if (!picture) {
                return kAFCObjectNotFound;
            }
            file.picture = std::make_shared<PictureFile>(PictureFile{picture});
            return kAFCSuccess;
        }
        if (error != kAFCSuccess) {
            return error;
        }
    }
    return openOnDevice(file);
}

AFCError readFile(FileHandle& file, std::span<std::byte> into, std::size_t& moved) {
    const std::lock_guard lock{file.mutex};
    moved = 0;
    if (file.picture) {
        const wire::Bytes& bytes = *file.picture->bytes;
        if (file.picture->position < bytes.size()) {
            moved = std::min<std::size_t>(into.size(), bytes.size() - file.picture->position);
            std::memcpy(into.data(), bytes.data() + file.picture->position, moved);
            file.picture->position += moved;
        }
        return kAFCSuccess;
    }
    return readOnDevice(file, into, moved);
}

AFCError writeFile(FileHandle& file, wire::ByteView bytes, bool early) {
    const std::lock_guard lock{file.mutex};
    if (file.picture) {
        if (const AFCError error = makeReal(file); error != kAFCSuccess) {
            return error;
        }
    }
    return writeOnDevice(file, bytes, early);
}

AFCError settleFile(FileHandle& file) {
    const std::lock_guard lock{file.mutex};
    return file.picture ? AFCError{kAFCSuccess} : settleOnDevice(file);
}

AFCError seekFile(FileHandle& file, std::int64_t offset, std::uint64_t whence) {
    const std::lock_guard lock{file.mutex};
    return file.picture ? seekPicture(*file.picture, offset, whence)
                        : seekOnDevice(file, offset, whence);
}

AFCError setFileSize(FileHandle& file, std::uint64_t size) {
    const std::lock_guard lock{file.mutex};
    if (file.picture) {
        if (const AFCError error = makeReal(file); error != kAFCSuccess) {
            return error;
        }
    }
    return setSizeOnDevice(file, size);
}

AFCError closeFile(FileHandle& file) {
    const std::lock_guard lock{file.mutex};
    return file.picture ? AFCError{kAFCSuccess} : closeOnDevice(file);
}

}  // namespace quillbox::device
