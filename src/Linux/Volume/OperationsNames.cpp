// SPDX-License-Identifier: GPL-3.0-or-later
// Making, linking, renaming and removing items, and extended attributes.
#include "Linux/Volume/Operations.h"

#include <fcntl.h>
#include <linux/limits.h>

namespace quillbox::volume {
namespace {

// renameat2's flag, as the kernel numbers it.
constexpr unsigned kNoReplace = 1;

// The kernel itself asks for these on every write and every listing; no device keeps any, so they
// are not worth a turn.
bool isKernelAttribute(const std::string& name) {
    return name.starts_with("security.") || name.starts_with("system.");
}

}  // namespace

Result<Done> Operations::askAbsence(const std::string& path) {
    const auto attributes = askAttributes(path, nullptr);
    if (attributes) {
        return Failure{EEXIST};
    }
    return attributes.error() == ENOENT ? Result<Done>(Done{}) : Result<Done>(attributes.failure());
}

Result<std::string> Operations::newPath(NodeId parent, const std::string& name) const {
    if (parent == kRootNode && trashNames_.isAbsent(name)) {
        // A trash folder on the device would only fill it; refused, the desktop offers to delete.
        return Failure{EPERM};
    }
    auto path = nodes_.childPath(parent, name);
    if (!path) {
        return Failure{ENOENT};  // the folder was removed through this volume
    }
    return *std::move(path);
}

Result<Entry> Operations::freshEntry(NodeId parent, const std::string& name,
                                     const std::string& path) {
    const auto attributes = askAttributes(path, nullptr);
    if (!attributes) {
        return attributes.failure();
    }
    return entry(parent, name, *attributes);
}

Result<Entry> Operations::makeFile(Caller& caller, NodeId parent, const std::string& name,
                                   mode_t mode) {
    const auto made = create(caller, parent, name, mode, O_EXCL | O_RDWR);
    if (!made) {
        return made.failure();
    }
    release(made->handle);
    return made->entry;
}

Result<Entry> Operations::makeDirectory(Caller& caller, NodeId parent, const std::string& name,
                                        mode_t mode) {
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendAllGathered();
    absentName_.forget();
    const auto path = newPath(parent, name);
    if (!path) {
        return path.failure();
    }
    const PropertyDictionary attributes{{std::string(NSFilePosixPermissions), std::uint64_t{mode}}};
    const auto made = ask([&](GMErrorOut error) {
        return delegate_.createDirectoryAtPath(*path, attributes, error);
    });
    if (!made) {
        return made.failure();
    }
    return freshEntry(parent, name, *path);
}

Result<Entry> Operations::makeSymbolicLink(Caller& caller, NodeId parent, const std::string& name,
                                           const std::string& target) {
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendAllGathered();
    absentName_.forget();
    const auto path = newPath(parent, name);
    if (!path) {
        return path.failure();
    }
    const auto made = ask(
        [&](GMErrorOut error) { return delegate_.createSymbolicLinkAtPath(*path, target, error); });
    if (!made) {
        return made.failure();
    }
    return freshEntry(parent, name, *path);
}

Result<Entry> Operations::makeLink(Caller& caller, NodeId node, NodeId parent,
                                   const std::string& name) {
    if (nodes_.isVirtual(node)) {
        return Failure{EPERM};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendAllGathered();
    absentName_.forget();
    const auto path = newPath(parent, name);
    if (!path) {
        return path.failure();
    }
    if (nodes_.isRemoved(node)) {
        return Failure{ESTALE};
    }
    const std::string existing = *nodes_.path(node);
    const auto made =
        ask([&](GMErrorOut error) { return delegate_.linkItemAtPath(existing, *path, error); });
    if (!made) {
        return stale(node, made.error());
    }
    nodes_.linked(node, parent, name);
    return freshEntry(parent, name, *path);
}

Result<std::string> Operations::symbolicLinkTarget(Caller& caller, NodeId node) {
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    if (nodes_.isRemoved(node)) {
        return Failure{ESTALE};
    }
    const std::string path = *nodes_.path(node);
    auto target = ask(
        [&](GMErrorOut error) { return delegate_.destinationOfSymbolicLinkAtPath(path, error); });
    if (!target) {
        return stale(node, target.error());
    }
    if (target->empty() || target->size() >= PATH_MAX || target->find('\0') != std::string::npos) {
        return Failure{EIO};
    }
    return target;
}

Result<Done> Operations::remove(Caller& caller, NodeId parent, const std::string& name,
                                Removal removal) {
    if (isVirtualName(parent, name)) {
        return Failure{EPERM};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendAllGathered();
    absentName_.forget();
    const auto path = nodes_.childPath(parent, name);
    if (!path) {
        return Failure{ENOENT};
    }
    const auto done = ask([&](GMErrorOut error) {
        return removal == Removal::File ? delegate_.removeItemAtPath(*path, error)
                                        : delegate_.removeDirectoryAtPath(*path, error);
    });
    if (!done) {
        return done.failure();
    }
    if (const int error = errnoOfRemoval(backing_.lastFailure()); error != 0) {
        return Failure{error};
    }
    nodes_.removed(parent, name);
    return Done{};
}

Result<Done> Operations::removeFile(Caller& caller, NodeId parent, const std::string& name) {
    return remove(caller, parent, name, Removal::File);
}

Result<Done> Operations::removeDirectory(Caller& caller, NodeId parent, const std::string& name) {
    return remove(caller, parent, name, Removal::Directory);
}

Result<Done> Operations::rename(Caller& caller, NodeId parent, const std::string& name,
                                NodeId newParent, const std::string& newName, unsigned flags) {
    if ((flags & ~kNoReplace) != 0) {
        return Failure{EINVAL};
    }
    if (isVirtualName(parent, name)) {
        return Failure{EPERM};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendAllGathered();
    absentName_.forget();
    const auto from = nodes_.childPath(parent, name);
    const auto to = newPath(newParent, newName);
    if (!from || !to) {
        return !from ? Failure{ENOENT} : to.failure();
    }
    if ((flags & kNoReplace) != 0) {
        const auto absent = askAbsence(*to);
        if (!absent) {
            return absent.failure();
        }
    }
    const auto done =
        ask([&](GMErrorOut error) { return delegate_.moveItemAtPath(*from, *to, error); });
    if (!done) {
        return done.failure();
    }
    // A file that is given a name that it has already keeps both.
    if (*from == *to || nodes_.inode(*from) != nodes_.inode(*to)) {
        nodes_.moved(parent, name, newParent, newName);
    }
    return Done{};
}

Result<PropertyData> Operations::extendedAttribute(Caller& caller, NodeId node,
                                                   const std::string& name) {
    if (isKernelAttribute(name) || nodes_.isVirtual(node)) {
        return Failure{ENOTSUP};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    const std::string path = nodes_.path(node).value_or("");
    return ask(
        [&](GMErrorOut error) { return delegate_.valueOfExtendedAttribute(name, path, 0, error); });
}

Result<Done> Operations::setExtendedAttribute(Caller& caller, NodeId node, const std::string& name,
                                              const PropertyData& value, int flags) {
    if (isKernelAttribute(name) || nodes_.isVirtual(node)) {
        return Failure{ENOTSUP};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    const std::string path = nodes_.path(node).value_or("");
    return ask([&](GMErrorOut error) {
        return delegate_.setExtendedAttribute(name, path, value, 0, flags, error);
    });
}

Result<std::string> Operations::extendedAttributeNames(Caller& caller, NodeId node) {
    if (nodes_.isVirtual(node)) {
        return Failure{ENOTSUP};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    const std::string path = nodes_.path(node).value_or("");
    const auto names = ask(
        [&](GMErrorOut error) { return delegate_.extendedAttributesOfItemAtPath(path, error); });
    if (!names) {
        return names.failure();
    }
    std::string list;
    for (const std::string& name : *names) {
        if (!name.empty() && name.find('\0') == std::string::npos) {
            list.append(name).push_back('\0');
        }
    }
    return list;
}

}  // namespace quillbox::volume
