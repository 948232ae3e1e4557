// SPDX-License-Identifier: GPL-3.0-or-later
// Looking up items, their attributes, and changes of these.
#include "Linux/Volume/Operations.h"
#include "Linux/Volume/VolumeInformation.h"

#include <chrono>
#include <unistd.h>

namespace quillbox::volume {
namespace {

constexpr mode_t kVirtualFileMode = S_IFREG | 0444;

std::int64_t nanosecondsNow() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

PropertyDictionary attributesFor(const Changes& changes) {
    PropertyDictionary attributes;
    if (changes.mode) {
        attributes.emplace(NSFilePosixPermissions, std::uint64_t{*changes.mode});
    }
    if (changes.user) {
        attributes.emplace(NSFileOwnerAccountID, std::uint64_t{*changes.user});
    }
    if (changes.group) {
        attributes.emplace(NSFileGroupOwnerAccountID, std::uint64_t{*changes.group});
    }
    if (changes.size) {
        attributes.emplace(NSFileSize, *changes.size);
    }
    if (changes.modified) {
        attributes.emplace(NSFileModificationDate,
                           PropertyDate(std::chrono::nanoseconds(*changes.modified)));
    }
    return attributes;
}

}  // namespace

Operations::Operations(const Parts& parts)
    : delegate_(parts.delegate),
      backing_(parts.backing),
      queue_(parts.queue),
      nodes_(parts.nodes),
      owner_(parts.owner),
      volumeInformation_(parts.volumeInformation),
      whenGathering_(parts.whenGathering),
      mounted_(nanosecondsNow()) {}

Result<struct stat> Operations::askAttributes(const std::string& path, const GMUserData& userData) {
    const auto answer = ask(
        [&](GMErrorOut error) { return delegate_.attributesOfItemAtPath(path, userData, error); });
    if (!answer) {
        return answer.failure();
    }
    return statOf(*answer, owner_);
}

struct stat Operations::virtualAttributes() const {
    struct stat attributes = {};
    attributes.st_mode = kVirtualFileMode;
    attributes.st_nlink = 1;
    attributes.st_uid = owner_.user;
    attributes.st_gid = owner_.group;
    attributes.st_blksize = kPreferredIoSize;
    setSize(attributes, volumeInformation_.size());
    setTime(attributes, mounted_);
    return attributes;
}

bool Operations::isVirtualName(NodeId parent, const std::string& name) const {
    if (parent != kRootNode || name != kVolumeInformationName) {
        return false;
    }
    const auto node = nodes_.child(parent, name);
    return node && nodes_.isVirtual(*node);
}

Result<Entry> Operations::entry(NodeId parent, const std::string& name,
                                const struct stat& attributes) {
    const auto node = nodes_.remember(parent, name, attributes.st_mode, false);
    if (!node) {
        return Failure{ENOENT};
    }
    const auto kept = nodes_.keep(*node, attributes);
    if (!kept) {
        nodes_.forget(*node, 1);
        return Failure{EIO};
    }
    return Entry{*node, *kept};
}

Result<Entry> Operations::virtualEntry(NodeId parent, const std::string& name) {
    const auto node = nodes_.remember(parent, name, kVirtualFileMode, true);
    const auto kept = node ? nodes_.keep(*node, virtualAttributes()) : std::nullopt;
    if (!kept) {
        return Failure{EIO};
    }
    return Entry{*node, *kept};
}

// Before anything is made, moved or removed the kernel looks its name up: here all of them hear
// that a name is too long. What a device has under such a name is there.
int Operations::absence(const std::string& name, int error) {
    return name.size() > kLongestName ? ENAMETOOLONG : error;
}

Result<Entry> Operations::lookUp(Caller& caller, NodeId parent, const std::string& name) {
    if (parent == kRootNode && trashNames_.isAbsent(name)) {
        return Failure{ENOENT};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    if (absentName_.isStill(parent, name)) {
        return Failure{absence(name)};
    }
    const auto path = nodes_.childPath(parent, name);
    if (!path) {
        return Failure{ENOENT};  // the folder was removed through this volume
    }
    if (const auto known = nodes_.child(parent, name)) {
        sendGathered(*known);
    }
    const auto attributes = askAttributes(*path, nullptr);
    if (attributes) {
        return entry(parent, name, *attributes);
    }
    // A device that serves only an application's documents permits nothing beside them.
    const bool isNotThere = attributes.error() == ENOENT || attributes.error() == EACCES;
    if (isNotThere && parent == kRootNode && name == kVolumeInformationName) {
        return virtualEntry(parent, name);
    }
    if (attributes.error() == ENOENT) {
        absentName_.note(parent, name);
        return Failure{absence(name)};
    }
    // So says a device of a name that is too long for itself.
    const bool isNoName = backing_.lastFailure() == kAFCInvalidArgument;
    return isNoName ? Failure{absence(name, attributes.error())} : attributes.failure();
}

Result<Done> Operations::mayAccess(NodeId node, int wanted) const {
    constexpr mode_t kAnyExecution = S_IXUSR | S_IXGRP | S_IXOTH;
    const auto known = nodes_.kept(node);
    const bool isNoProgram =
        known && S_ISREG(known->st_mode) && (known->st_mode & kAnyExecution) == 0;
    return isNoProgram && (wanted & X_OK) != 0 ? Result<Done>(Failure{EACCES})
                                               : Result<Done>(Done{});
}

void Operations::forget(NodeId node, std::uint64_t lookups) {
    nodes_.forget(node, lookups);
}

bool Operations::mayBeKept(const Entry& entry) const {
    const bool isShared = entry.attributes.st_nlink > 1 && !S_ISDIR(entry.attributes.st_mode);
    return !isShared && !nodes_.isVirtual(entry.node) && !files_.writable(entry.node);
}

Result<struct stat> Operations::refresh(NodeId node, const GMUserData& userData) {
    const auto path = nodes_.path(node);
    if (!path) {
        return Failure{ESTALE};
    }
    const auto attributes = askAttributes(*path, userData);
    if (!attributes) {
        return attributes.failure();
    }
    if (const auto kept = nodes_.keep(node, *attributes)) {
        return *kept;
    }
    // Another kind of item stands there now. ESTALE makes the kernel look the name up again; the
    // volume's top has no name, and can only be a folder.
    return Failure{node == kRootNode ? EIO : ESTALE};
}

Result<struct stat> Operations::attributes(Caller& caller, NodeId node,
                                           std::optional<HandleId> handle) {
    if (nodes_.isVirtual(node)) {
        return *nodes_.kept(node);
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendGathered(node);
    if (nodes_.isRemoved(node)) {
        const auto kept = nodes_.kept(node);
        return kept ? Result<struct stat>(*kept) : Result<struct stat>(Failure{ESTALE});
    }
    const auto file = handle ? files_.find(*handle) : std::nullopt;
    const auto known = refresh(node, file ? file->userData : nullptr);
    return file || known ? known : Result<struct stat>(stale(node, known.error()));
}

// The kernel may have come here by a name that it kept and that leads nowhere by now: then it looks
// that up again, and its program hears what the device says of it.
Failure Operations::stale(NodeId node, int error) {
    return Failure{error == ENOENT && node != kRootNode ? ESTALE : error};
}

Result<Done> Operations::resize(NodeId node, const std::string& path, const GMUserData& userData,
                                std::uint64_t size) {
    backing_.beginCall();
    const AFCError refusal = backing_.setFileSize(path, userData, size);
    if (refusal != kAFCSuccess) {
        return Failure{errnoOfDevice(refusal)};
    }
    nodes_.resized(node, size);
    return Done{};
}

Result<Done> Operations::applyChanges(NodeId node, const std::string& path,
                                      const GMUserData& userData, const Changes& changes) {
    const auto accepted = ask([&](GMErrorOut error) {
        return delegate_.setAttributes(attributesFor(changes), path, userData, error);
    });
    if (!accepted) {
        return accepted.failure();
    }
    if (changes.size) {
        const auto resized = resize(node, path, userData, *changes.size);
        if (!resized) {
            return resized.failure();
        }
    }
    // A device follows a symbolic link: the date would land on what it leads to.
    if (changes.modified && !nodes_.isLink(node)) {
        backing_.beginCall();
        const AFCError refusal = backing_.setModificationTime(path, *changes.modified);
        if (refusal != kAFCSuccess) {
            return Failure{errnoOfDevice(refusal)};
        }
    }
    return Done{};
}

// The path is gone, so there is nobody to ask: a size goes through an open file, a date is only
// remembered.
Result<struct stat> Operations::changeRemoved(NodeId node, const std::optional<OpenFile>& file,
                                              const Changes& changes) {
    if (changes.size) {
        const auto open = file && file->isWritable ? file : files_.writable(node);
        const auto path = nodes_.path(node);
        if (!open || !path) {
            return Failure{ESTALE};
        }
        const auto resized = resize(node, *path, open->userData, *changes.size);
        if (!resized) {
            return resized.failure();
        }
    }
    auto kept = nodes_.kept(node);
    if (!kept) {
        return Failure{ESTALE};
    }
    if (changes.modified) {
        setTime(*kept, *changes.modified);
        kept = nodes_.keep(node, *kept);
    }
    return *kept;
}

Result<struct stat> Operations::change(Caller& caller, NodeId node, std::optional<HandleId> handle,
                                       const Changes& changes) {
    if (changes.modified && *changes.modified < 0) {
        return Failure{EINVAL};  // the device's dates have no sign
    }
    if (nodes_.isVirtual(node)) {
        return Failure{EACCES};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendGathered(node);
    const auto file = handle ? files_.find(*handle) : std::nullopt;
    if (nodes_.isRemoved(node)) {
        return changeRemoved(node, file, changes);
    }
    const auto path = nodes_.path(node);
    if (!path) {
        return Failure{ESTALE};
    }
    const GMUserData userData = file ? file->userData : nullptr;
    const auto applied = applyChanges(node, *path, userData, changes);
    if (!applied) {
        return file ? applied.failure() : stale(node, applied.error());
    }
    return refresh(node, userData);
}

Result<struct statvfs> Operations::volumeFigures(Caller& caller) {
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    const auto answer =
        ask([&](GMErrorOut error) { return delegate_.attributesOfFileSystemForPath("/", error); });
    if (!answer) {
        return answer.failure();
    }
    return statvfsOf(*answer);
}

}  // namespace quillbox::volume
