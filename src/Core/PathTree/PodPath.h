// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/PathTree/PodItem.h"
#include "Core/Platform/FileManager.h"
#include "Core/Platform/Log.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillbox {

/// What a path tree works on. Both outlive the tree.
struct PathTreePlatform {
    FileManager& files;
    Log& log;
};

/// A node of a tree of paths that is read as far as it is asked for: over a folder of this computer
/// or over the items of another model. A node owns its children; a parent must outlive them. One
/// thread at a time; a question may wait for the disk or for the device.
class PodPath {
    struct Key {};

public:
    /// The top of a tree over items.
    static std::shared_ptr<PodPath> initAsIPhoneRoot(const PathTreePlatform& platform,
                                                     std::shared_ptr<PodItem> item);
    /// The top of a tree over a folder of this computer, whose full path is its name.
    static std::shared_ptr<PodPath> initAsIPodRoot(const PathTreePlatform& platform,
                                                   const std::string& path);
    static std::shared_ptr<PodPath> initAsIPhoneChild(PodPath& parent,
                                                      std::shared_ptr<PodItem> childItem);
    static std::shared_ptr<PodPath> initAsIPodChild(PodPath& parent, const std::string& childName);

    /// Only through the above.
    PodPath(Key key, const PathTreePlatform& platform, PodPath* parent,
            std::shared_ptr<PodItem> item, std::string name);
    PodPath(const PodPath&) = delete;
    PodPath& operator=(const PodPath&) = delete;

    /// Null for a node of this computer.
    const std::shared_ptr<PodItem>& iPhoneItem() const { return iPhoneItem_; }

    const std::string& name() const { return name_; }

    /// Null for a root.
    PodPath* parent() const { return parent_; }

    /// Listed at the first call.
    const std::vector<std::shared_ptr<PodPath>>& children();
    /// Lists the children anew; nothing for what is no directory. A folder of this computer that
    /// cannot be read has none, and the log says why.
    void refreshChildren();

    /// A symbolic link of this computer counts as one. Read once for a node of this computer; what
    /// cannot be read is none, and the log says why.
    bool isDirectory();
    std::string fullPath() const;
    /// Bytes; 0, and a log line, when it cannot be read.
    std::int64_t fileSize() const;
    /// None, and a log line, when it cannot be read.
    std::optional<PropertyDate> modDate() const;
    /// The name of the node without a parent.
    std::string root() const;
    /// The media database folder of the tree.
    std::string iTunesRoot() const;

private:
    std::optional<PropertyDictionary> hostAttributes() const;
    void listHostChildren();
    void listItemChildren();

    const PathTreePlatform& platform_;
    const std::shared_ptr<PodItem> iPhoneItem_;
    const std::string name_;
    const std::string parentPath_;
    bool isDirectory_ = false;
    bool bFileInfoFirstLoad_ = true;
    PodPath* const parent_;
    std::vector<std::shared_ptr<PodPath>> children_;
    bool bChildrenNeedFirstLoad_ = true;
};

}  // namespace quillbox
