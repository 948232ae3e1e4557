// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Error.h"
#include "Core/Platform/PropertyList.h"
#include "Core/Platform/UserFileSystem.h"

#include <optional>
#include <string>
#include <vector>

namespace quillbox {

/// What the computer's own disks tell about their files, read only. Any thread; blocks as long as
/// the disk does, so the main thread never asks about a path on one of our own volumes.
///
/// A failure answers none and puts the reason into `error` (an `errno` of `NSPOSIXErrorDomain`,
/// with its description), where that is not null; a success leaves `error` alone.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// At least `NSFileType`, `NSFileSize` and `NSFileModificationDate` of an item; a symbolic link
    /// is told about itself.
    virtual std::optional<PropertyDictionary> attributesOfItemAtPath(const std::string& path,
                                                                     GMErrorOut error) = 0;
    /// The names in a folder in the disk's order, "." and ".." left out. Symbolic links to a folder
    /// are followed.
    virtual std::optional<std::vector<std::string>>
    contentsOfDirectoryAtPath(const std::string& path, GMErrorOut error) = 0;
    /// `NSFileSystemSize` and `NSFileSystemFreeSize` (bytes; free for this user), `…Nodes` and
    /// `…FreeNodes` of the disk that holds a path.
    virtual std::optional<PropertyDictionary> attributesOfFileSystemForPath(const std::string& path,
                                                                            GMErrorOut error) = 0;
};

}  // namespace quillbox
