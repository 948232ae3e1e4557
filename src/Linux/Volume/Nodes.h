// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unordered_map>

namespace quillbox::volume {

/// The number by which the kernel knows an item; never used twice in the life of a volume.
using NodeId = std::uint64_t;
inline constexpr NodeId kRootNode = 1;

/// Everything that the kernel holds on to: which number means which path, how often the kernel has
/// looked it up, whether it was removed while still in use, and what was last known of it.
///
/// Inode numbers follow the path: the same path has the same number for the whole mount (and with
/// the same seed in the next), another one after a rename, and an item that was removed while open
/// a number that no path has. A second name of a file, made on this volume, has the number of the
/// first. Any thread; no call blocks.
class Nodes {
public:
    /// `seed` makes the inode numbers of this mount; any number that a device cannot know.
    explicit Nodes(std::uint64_t seed);

    /// The item below `parent`, made when it is not known yet or known as another kind of item
    /// (`type`, the S_IFMT bits; `isVirtual` for files that the volume makes up). Counts one
    /// lookup, which a `forget` takes back. Nothing when `parent` is unknown.
    std::optional<NodeId> remember(NodeId parent, const std::string& name, mode_t type,
                                   bool isVirtual);
    void forget(NodeId node, std::uint64_t lookups);

    /// An open file or listing keeps its node, whatever the kernel forgets.
    void hold(NodeId node);
    void letGo(NodeId node);

    /// The present path, the last one for an item that was removed; nothing for an unknown number.
    std::optional<std::string> path(NodeId node) const;
    /// The path of a name below a node; nothing where the node is unknown or removed.
    std::optional<std::string> childPath(NodeId parent, const std::string& name) const;
    bool isRemoved(NodeId node) const;
    bool isVirtual(NodeId node) const;
    bool isLink(NodeId node) const;
    /// The item that is known under a name.
    std::optional<NodeId> child(NodeId parent, const std::string& name) const;

    /// `name` is a further name of the file `existing`.
    void linked(NodeId existing, NodeId parent, const std::string& name);
    /// The name leads nowhere any more: the node that it led to counts as removed.
    void removed(NodeId parent, const std::string& name);
    /// The item has a new name; what had that name before counts as removed.
    void moved(NodeId parent, const std::string& name, NodeId newParent,
               const std::string& newName);

    /// Keeps what is known of an item and gives it back with the inode number filled in. Nothing
    /// where the kind of item has changed: the number then stands for something that is gone.
    std::optional<struct stat> keep(NodeId node, struct stat attributes);
    /// What is known of an item; of a removed one its last state, with one link less.
    std::optional<struct stat> kept(NodeId node) const;
    /// A write or truncation has changed the size: to `size`, or to at least that much.
    void resized(NodeId node, std::uint64_t size);
    void grown(NodeId node, std::uint64_t size);
    /// The size as last known.
    std::uint64_t size(NodeId node) const;

    /// The inode number of a path.
    std::uint64_t inode(const std::string& path) const;

    /// How many items are known, for tests of the memory that a volume takes.
    std::size_t count() const;

private:
    struct Node {
        NodeId parent = 0;
        std::string name;
        std::string lastPath;  ///< of a removed item
        mode_t type = 0;
        bool isVirtual = false;
        bool isRemoved = false;
        std::uint64_t lookups = 0;
        std::uint64_t holds = 0;
        struct stat attributes = {};
        std::map<std::string, NodeId, std::less<>> children;
    };

    Node* node(NodeId id);
    const Node* node(NodeId id) const;
    std::string pathOf(const Node& node) const;
    std::string childPathOf(const Node& folder, const std::string& name) const;
    void unlink(NodeId parent, const std::string& name);
    void freeNumber(NodeId parent, const std::string& name);
    std::uint64_t plainInode(const std::string& text) const;
    std::uint64_t inodeAt(const std::string& path) const;
    void dropUnused(NodeId id);
    std::uint64_t inodeOf(NodeId id, const Node& node) const;

    const std::uint64_t seed_;
    mutable std::mutex mutex_;
    NodeId next_ = kRootNode + 1;
    std::unordered_map<NodeId, Node> nodes_;
    std::map<std::string, std::uint64_t> shared_;  ///< paths whose number is not their own
    std::uint64_t freed_ = 0;                      ///< numbers that were left to another path
};

}  // namespace quillbox::volume
