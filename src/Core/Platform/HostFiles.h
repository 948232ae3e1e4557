// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quillbox {

/// The computer's own files. Any thread. Never resolves a path on one of our own volumes: whether a
/// name is taken in the volumes folder comes from listing that folder.
class HostFiles {
public:
    virtual ~HostFiles() = default;

    /// Whether a file, folder, link or mount point exists at a path.
    virtual bool fileExistsAtPath(const std::string& path) = 0;
    /// Makes a folder with its missing parents; false with the reason in `error`.
    virtual bool createDirectoryAtPath(const std::string& path, std::string* error) = 0;
    /// Removes a file or a folder with what it holds, following no link and crossing no mount.
    virtual bool removeItemAtPath(const std::string& path) = 0;
    /// The folder below which volumes appear, no slash at the end.
    virtual std::string volumesFolder() = 0;
};

}  // namespace quillbox
