// SPDX-License-Identifier: GPL-3.0-or-later
// Listings.
#include "Linux/Volume/Operations.h"

#include <unordered_set>

namespace quillbox::volume {
namespace {

// More than the kernel takes for one name.
constexpr std::size_t kNameLimit = 1024;

// Names come from a device. "." and ".." are the volume's own to give; what can be no name of an
// item is none.
bool isItemName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.size() < kNameLimit &&
           name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

}  // namespace

Result<std::vector<std::string>> Operations::askListing(NodeId node, const std::string& path) {
    auto answer =
        ask([&](GMErrorOut error) { return delegate_.contentsOfDirectoryAtPath(path, error); });
    if (!answer) {
        return answer.failure();
    }
    std::vector<std::string> names;
    names.reserve(answer->size());
    std::unordered_set<std::string_view> seen;
    for (std::string& name : *answer) {
        if (!isItemName(name)) {
            continue;
        }
        names.push_back(std::move(name));  // reserved: earlier views stay valid
        if (!seen.insert(names.back()).second) {
            names.pop_back();
            continue;
        }
        if (node == kRootNode) {
            trashNames_.isListed(names.back());
        }
    }
    return names;
}

Result<HandleId> Operations::openDirectory(Caller& caller, NodeId node) {
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    OpenDirectory directory{node, nullptr, false};
    if (nodes_.isRemoved(node)) {
        directory.listing = std::make_shared<const std::vector<std::string>>();
    } else {
        auto names = askListing(node, *nodes_.path(node));
        if (!names) {
            return stale(node, names.error());
        }
        directory.listing = std::make_shared<const std::vector<std::string>>(std::move(*names));
    }
    nodes_.hold(node);
    return directories_.add(std::move(directory));
}

Result<Listing> Operations::listing(Caller& caller, HandleId handle, std::uint64_t offset) {
    const auto directory = directories_.start(handle);
    if (!directory) {
        return Failure{EBADF};
    }
    if (offset != 0 || !directory->isStarted || nodes_.isRemoved(directory->node)) {
        return directory->listing;
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    const auto path = nodes_.path(directory->node);
    auto names = askListing(directory->node, path.value_or("/"));
    if (!names) {
        return names.failure();
    }
    Listing fresh = std::make_shared<const std::vector<std::string>>(std::move(*names));
    directories_.refresh(handle, fresh);
    return fresh;
}

void Operations::releaseDirectory(HandleId handle) {
    if (const auto directory = directories_.take(handle)) {
        nodes_.letGo(directory->node);
    }
}

std::uint64_t Operations::inode(NodeId directory, const std::string& name) const {
    return nodes_.inode(nodes_.childPath(directory, name).value_or(name));
}

std::uint64_t Operations::inode(NodeId directory) const {
    return directory == kRootNode ? kRootNode : nodes_.inode(nodes_.path(directory).value_or(""));
}

}  // namespace quillbox::volume
