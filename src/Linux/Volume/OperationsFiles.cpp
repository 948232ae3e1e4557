// SPDX-License-Identifier: GPL-3.0-or-later
// Opening, creating, reading, writing and releasing files.
#include "Linux/Volume/Operations.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>

namespace quillbox::volume {
namespace {

// What the delegate is told of the flags. The kernel adds bits of its own to every open, and tools
// add O_NOFOLLOW and O_NOATIME; a delegate that takes any further bit for a wish to write must not
// see them.
constexpr int kDelegateFlags = O_ACCMODE | O_NONBLOCK | O_APPEND;

bool isForWriting(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY;
}

bool isSynchronous(int flags) {
    return (flags & O_DSYNC) != 0;  // a bit of O_SYNC as well
}

}  // namespace

Result<HandleId> Operations::open(Caller& caller, NodeId node, int flags) {
    if (nodes_.isVirtual(node)) {
        if (isForWriting(flags) || (flags & O_TRUNC) != 0) {
            return Failure{EACCES};
        }
        nodes_.hold(node);
        return files_.add(OpenFile{node, nullptr, false, true, false});
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    if (nodes_.isRemoved(node)) {
        return Failure{ESTALE};  // another item may have the name by now
    }
    sendGathered(node);
    const std::string path = *nodes_.path(node);
    GMUserData userData;
    const auto opened = ask([&](GMErrorOut error) {
        return delegate_.openFileAtPath(path, flags & kDelegateFlags, &userData, error);
    });
    if (!opened) {
        return stale(node, opened.error());
    }
    if ((flags & O_TRUNC) != 0) {
        // A file that is open for reading only is cut by its path.
        const auto cut = resize(node, path, isForWriting(flags) ? userData : nullptr, 0);
        if (!cut) {
            delegate_.releaseFileAtPath(path, userData);
            return stale(node, cut.error());
        }
    }
    nodes_.hold(node);
    return files_.add(OpenFile{node, userData, isForWriting(flags), false, isSynchronous(flags)});
}

Result<CreatedFile> Operations::create(Caller& caller, NodeId parent, const std::string& name,
                                       mode_t mode, int flags) {
    const auto path = newPath(parent, name);
    if (!path) {
        return path.failure();
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendAllGathered();
    const auto place = newPath(parent, name);  // the folder may have moved while we waited
    if (!place) {
        return place.failure();
    }
    if (!absentName_.take(parent, name) && (flags & O_EXCL) != 0) {
        const auto absent = askAbsence(*place);
        if (!absent) {
            return absent.failure();
        }
    }
    GMUserData userData;
    const PropertyDictionary attributes{{std::string(NSFilePosixPermissions), std::uint64_t{mode}}};
    const auto created = ask([&](GMErrorOut error) {
        return delegate_.createFileAtPath(*place, attributes, &userData, error);
    });
    if (!created) {
        return created.failure();
    }
    // The delegate opens a file that is there without cutting it.
    if ((flags & O_TRUNC) != 0) {
        backing_.beginCall();
        const AFCError refusal = backing_.setFileSize(*place, userData, 0);
        if (refusal != kAFCSuccess) {
            delegate_.releaseFileAtPath(*place, userData);
            return Failure{errnoOfDevice(refusal)};
        }
    }
    const auto made = freshEntry(parent, name, *place);
    if (!made) {
        delegate_.releaseFileAtPath(*place, userData);
        return made.failure();
    }
    nodes_.hold(made->node);
    // The delegate creates for reading and writing.
    return CreatedFile{
        *made, files_.add(OpenFile{made->node, userData, true, false, isSynchronous(flags)})};
}

Result<std::size_t> Operations::read(Caller& caller, HandleId handle, char* buffer,
                                     std::size_t size, std::int64_t offset) {
    const auto file = files_.find(handle);
    if (!file || offset < 0) {
        return Failure{EBADF};
    }
    if (file->isVirtual) {
        const auto start = std::min(static_cast<std::size_t>(offset), volumeInformation_.size());
        const auto count = std::min(size, volumeInformation_.size() - start);
        std::memcpy(buffer, volumeInformation_.data() + start, count);
        return count;
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendGathered(file->node);
    const std::string path = nodes_.path(file->node).value_or("");
    std::size_t done = 0;
    std::size_t doubted = size;
    // To the kernel a short answer is the end of the file, to a delegate it is not: so a short one
    // is trusted only where the known size says the same.
    while (done < size) {
        backing_.beginCall();
        std::optional<NSError> error;
        const std::int64_t from = offset + static_cast<std::int64_t>(done);
        const std::int32_t count = delegate_.readFileAtPath(path, file->userData, buffer + done,
                                                            size - done, from, &error);
        if (count < 0) {
            return Failure{errnoOfRefusal(error, backing_.lastFailure())};
        }
        if (static_cast<std::size_t>(count) > size - done) {
            return Failure{EIO};
        }
        done += static_cast<std::size_t>(count);
        const std::uint64_t end = static_cast<std::uint64_t>(offset) + done;
        if (count == 0) {
            const auto length = lengthBeyond(*file, end);
            if (!length) {
                return length.failure();
            }
            if (*length <= end) {
                break;
            }
            if (doubted == done) {
                return Failure{EIO};  // there is more, and it cannot be had
            }
            doubted = done;  // it may just have grown
        } else if (end == nodes_.size(file->node)) {
            break;
        }
    }
    return done;
}

// How long a file is that was read to `end`: the known length is asked for anew where it says more,
// since a copy that stops short of the file would pass for whole.
Result<std::uint64_t> Operations::lengthBeyond(const OpenFile& file, std::uint64_t end) {
    const std::uint64_t known = nodes_.size(file.node);
    if (known <= end) {
        return known;
    }
    if (nodes_.isRemoved(file.node)) {
        // Nobody is left to ask. Another name of it may have cut it, else nobody has.
        const auto kept = nodes_.kept(file.node);
        return kept && kept->st_nlink > 0 ? end : known;
    }
    const auto attributes = refresh(file.node, file.userData);
    if (!attributes) {
        return Failure{attributes.error() == ETIMEDOUT ? ETIMEDOUT : EIO};
    }
    return static_cast<std::uint64_t>(attributes->st_size);
}

void Operations::useMoment() noexcept {
    try {
        if (!queue_.isClosed()) {
            backing_.useMoment();
        }
    } catch (...) {
        return;  // it was a courtesy: the next call finds out by itself
    }
}

void Operations::release(HandleId handle) {
    const auto file = files_.find(handle);
    if (!file) {
        return;
    }
    if (file->isVirtual) {
        if (files_.take(handle)) {
            nodes_.letGo(file->node);
        }
        return;
    }
    PatientCaller nobody;
    const auto turn = queue_.enter(nobody);
    if (turn && file->isWritable && file->writing->isDirty) {
        // Nobody is left to be told; a program that asked was told by its close.
        (void)finishWrites(*file);
    }
    // Whoever has the next turn finds no file that is closed.
    if (!files_.take(handle)) {
        return;
    }
    const std::string path = nodes_.path(file->node).value_or("");
    nodes_.letGo(file->node);
    if (turn) {
        delegate_.releaseFileAtPath(path, file->userData);
    }
}

void Operations::releaseAll() {
    for (const HandleId handle : files_.handles()) {
        release(handle);
    }
}

}  // namespace quillbox::volume
