// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Nodes.h"

#include "Linux/Volume/Attributes.h"
#include "Linux/Volume/TextHash.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace quillbox::volume {
namespace {

// 0 means "no inode" to many programs, 1 is the volume's top.
constexpr std::uint64_t kReservedInodes = 2;

// Further names beyond these have numbers of their own, as they would have after the next mount.
constexpr std::size_t kMostShared = 65'536;

}  // namespace

Nodes::Nodes(std::uint64_t seed) : seed_(seed) {
    Node root;
    root.type = S_IFDIR;
    root.lookups = 1;
    nodes_.emplace(kRootNode, std::move(root));
}

Nodes::Node* Nodes::node(NodeId id) {
    const auto found = nodes_.find(id);
    return found == nodes_.end() ? nullptr : &found->second;
}

const Nodes::Node* Nodes::node(NodeId id) const {
    const auto found = nodes_.find(id);
    return found == nodes_.end() ? nullptr : &found->second;
}

std::string Nodes::pathOf(const Node& item) const {
    std::vector<std::string_view> names;
    std::string path;
    for (const Node* step = &item; step != nullptr && step->parent != 0;
         step = node(step->parent)) {
        if (step->isRemoved) {
            path = step->lastPath;
            break;
        }
        names.emplace_back(step->name);
    }
    if (names.empty() && path.empty()) {
        return "/";
    }
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path += '/';
        path += *name;
    }
    return path;
}

std::optional<NodeId> Nodes::remember(NodeId parent, const std::string& name, mode_t type,
                                      bool isVirtual) {
    const std::lock_guard lock(mutex_);
    Node* folder = node(parent);
    if (folder == nullptr) {
        return std::nullopt;
    }
    if (const auto known = folder->children.find(name); known != folder->children.end()) {
        const NodeId id = known->second;
        Node* item = node(id);
        if (item->type == (type & S_IFMT) && item->isVirtual == isVirtual) {
            ++item->lookups;
            return id;
        }
        unlink(parent, name);
    }
    const NodeId id = next_++;
    Node item;
    item.parent = parent;
    item.name = name;
    item.type = type & S_IFMT;
    item.isVirtual = isVirtual;
    item.lookups = 1;
    nodes_.emplace(id, std::move(item));
    node(parent)->children[name] = id;
    return id;
}

void Nodes::forget(NodeId id, std::uint64_t lookups) {
    const std::lock_guard lock(mutex_);
    Node* item = node(id);
    if (item == nullptr) {
        return;
    }
    item->lookups -= std::min(item->lookups, lookups);
    dropUnused(id);
}

void Nodes::hold(NodeId id) {
    const std::lock_guard lock(mutex_);
    if (Node* item = node(id); item != nullptr) {
        ++item->holds;
    }
}

void Nodes::letGo(NodeId id) {
    const std::lock_guard lock(mutex_);
    Node* item = node(id);
    if (item == nullptr) {
        return;
    }
    item->holds -= std::min<std::uint64_t>(item->holds, 1);
    dropUnused(id);
}

// A folder stays while something below it is known: the paths are made of it.
void Nodes::dropUnused(NodeId id) {
    while (id != kRootNode) {
        const auto found = nodes_.find(id);
        if (found == nodes_.end() || found->second.lookups != 0 || found->second.holds != 0 ||
            !found->second.children.empty()) {
            return;
        }
        const NodeId parent = found->second.parent;
        if (Node* folder = node(parent); folder != nullptr) {
            const auto entry = folder->children.find(found->second.name);
            if (entry != folder->children.end() && entry->second == id) {
                folder->children.erase(entry);
            }
        }
        nodes_.erase(found);
        id = parent;
    }
}

void Nodes::unlink(NodeId parent, const std::string& name) {
    Node* folder = node(parent);
    if (folder == nullptr) {
        return;
    }
    const auto entry = folder->children.find(name);
    if (entry == folder->children.end()) {
        return;
    }
    const NodeId id = entry->second;
    Node* item = node(id);
    item->lastPath = pathOf(*item);
    item->isRemoved = true;
    folder->children.erase(entry);
    item->attributes.st_nlink =
        S_ISDIR(item->type) ? 0 : item->attributes.st_nlink - (item->attributes.st_nlink > 0);
    dropUnused(id);
}

std::optional<std::string> Nodes::path(NodeId id) const {
    const std::lock_guard lock(mutex_);
    const Node* item = node(id);
    return item == nullptr ? std::nullopt : std::optional(pathOf(*item));
}

std::optional<std::string> Nodes::childPath(NodeId parent, const std::string& name) const {
    const std::lock_guard lock(mutex_);
    const Node* folder = node(parent);
    if (folder == nullptr || folder->isRemoved) {
        return std::nullopt;
    }
    return childPathOf(*folder, name);
}

std::string Nodes::childPathOf(const Node& folder, const std::string& name) const {
    std::string path = pathOf(folder);
    if (path.size() > 1) {
        path += '/';
    }
    return path += name;
}

bool Nodes::isRemoved(NodeId id) const {
    const std::lock_guard lock(mutex_);
    const Node* item = node(id);
    return item == nullptr || item->isRemoved;
}

bool Nodes::isVirtual(NodeId id) const {
    const std::lock_guard lock(mutex_);
    const Node* item = node(id);
    return item != nullptr && item->isVirtual;
}

bool Nodes::isLink(NodeId id) const {
    const std::lock_guard lock(mutex_);
    const Node* item = node(id);
    return item != nullptr && S_ISLNK(item->type);
}

std::optional<NodeId> Nodes::child(NodeId parent, const std::string& name) const {
    const std::lock_guard lock(mutex_);
    const Node* folder = node(parent);
    if (folder == nullptr) {
        return std::nullopt;
    }
    const auto entry = folder->children.find(name);
    return entry == folder->children.end() ? std::nullopt : std::optional(entry->second);
}

void Nodes::linked(NodeId existing, NodeId parent, const std::string& name) {
    const std::lock_guard lock(mutex_);
    const Node* folder = node(parent);
    Node* item = node(existing);
    if (folder == nullptr || item == nullptr || item->isRemoved) {
        return;
    }
    if (shared_.size() < kMostShared) {
        shared_[childPathOf(*folder, name)] = inodeAt(pathOf(*item));
    }
    // Who has it open by this name is not told otherwise that there is another.
    constexpr nlink_t kTwoNames = 2;
    item->attributes.st_nlink = std::max(kTwoNames, item->attributes.st_nlink + 1);
}

void Nodes::removed(NodeId parent, const std::string& name) {
    const std::lock_guard lock(mutex_);
    freeNumber(parent, name);
    unlink(parent, name);
}

// What is made at this path later is another file: it may not have the number that a further name
// of the old one still has, or tools take the two for one.
void Nodes::freeNumber(NodeId parent, const std::string& name) {
    const Node* folder = node(parent);
    if (shared_.empty() || folder == nullptr) {
        return;
    }
    const std::string path = childPathOf(*folder, name);
    shared_.erase(path);
    const std::string below = path + '/';
    shared_.erase(shared_.lower_bound(below), shared_.lower_bound(path + '0'));
    const std::uint64_t own = plainInode(path);
    const bool isTaken = std::any_of(shared_.begin(), shared_.end(),
                                     [own](const auto& each) { return each.second == own; });
    if (isTaken) {
        shared_[path] = plainInode("freed " + std::to_string(++freed_));
    }
}

void Nodes::moved(NodeId parent, const std::string& name, NodeId newParent,
                  const std::string& newName) {
    const std::lock_guard lock(mutex_);
    if (parent == newParent && name == newName) {
        return;
    }
    freeNumber(parent, name);
    freeNumber(newParent, newName);
    unlink(newParent, newName);
    Node* from = node(parent);
    Node* to = node(newParent);
    if (from == nullptr || to == nullptr) {
        return;
    }
    const auto entry = from->children.find(name);
    if (entry == from->children.end()) {
        return;
    }
    const NodeId id = entry->second;
    from->children.erase(entry);
    Node* item = node(id);
    item->parent = newParent;
    item->name = newName;
    to->children[newName] = id;
    dropUnused(parent);
}

std::uint64_t Nodes::inodeOf(NodeId id, const Node& item) const {
    if (id == kRootNode) {
        return kRootNode;
    }
    // No path is without a slash, so this number is no path's.
    return item.isRemoved ? plainInode("removed " + std::to_string(id)) : inodeAt(pathOf(item));
}

std::optional<struct stat> Nodes::keep(NodeId id, struct stat attributes) {
    const std::lock_guard lock(mutex_);
    Node* item = node(id);
    if (item == nullptr || item->type != (attributes.st_mode & S_IFMT)) {
        return std::nullopt;
    }
    attributes.st_ino = inodeOf(id, *item);
    item->attributes = attributes;
    return attributes;
}

std::optional<struct stat> Nodes::kept(NodeId id) const {
    const std::lock_guard lock(mutex_);
    const Node* item = node(id);
    if (item == nullptr) {
        return std::nullopt;
    }
    struct stat attributes = item->attributes;
    attributes.st_ino = inodeOf(id, *item);
    return attributes;
}

void Nodes::resized(NodeId id, std::uint64_t size) {
    const std::lock_guard lock(mutex_);
    if (Node* item = node(id); item != nullptr) {
        setSize(item->attributes, size);
    }
}

void Nodes::grown(NodeId id, std::uint64_t size) {
    const std::lock_guard lock(mutex_);
    Node* item = node(id);
    if (item != nullptr && static_cast<std::uint64_t>(item->attributes.st_size) < size) {
        setSize(item->attributes, size);
    }
}

std::uint64_t Nodes::size(NodeId id) const {
    const std::lock_guard lock(mutex_);
    const Node* item = node(id);
    return item == nullptr ? 0 : static_cast<std::uint64_t>(item->attributes.st_size);
}

std::uint64_t Nodes::plainInode(const std::string& text) const {
    const std::uint64_t value = textHash(seed_, text);
    return value < kReservedInodes ? value + kReservedInodes : value;
}

std::uint64_t Nodes::inodeAt(const std::string& path) const {
    const auto given = shared_.find(path);
    return given == shared_.end() ? plainInode(path) : given->second;
}

std::uint64_t Nodes::inode(const std::string& path) const {
    const std::lock_guard lock(mutex_);
    return inodeAt(path);
}

std::size_t Nodes::count() const {
    const std::lock_guard lock(mutex_);
    return nodes_.size();
}

}  // namespace quillbox::volume
