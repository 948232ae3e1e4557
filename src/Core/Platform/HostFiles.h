// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace quillbox {

/// Flags of `HostFiles::open`, by the platform's numbers; not those of the host.
enum HostOpenFlag : std::uint32_t {
    kHostReadOnly = 0,
    kHostReadWrite = 2,
    kHostCreate = 0x200,
};

/// The computer's own files. Any thread. Never resolves a path on one of our own volumes: whether a
/// name is taken in the volumes folder comes from listing that folder.
///
/// Files are opened and written by fixed names in a folder that all users share. So a link at the
/// end of a path is never followed to a file's content, and where other users can make files, only
/// a plain file that belongs to this user and has one name is opened.
class HostFiles {
public:
    virtual ~HostFiles() = default;

    /// Whether a file, folder, link or mount point exists at a path.
    virtual bool fileExistsAtPath(const std::string& path) = 0;
    /// The same; `isDirectory` tells whether it is a folder, or a link to one.
    virtual bool fileExistsAtPath(const std::string& path, bool* isDirectory) = 0;
    /// The size in bytes of the plain file at a path; none when there is no such file.
    virtual std::optional<std::uint64_t> fileSizeAtPath(const std::string& path) = 0;
    /// Makes a folder with its missing parents; false with the reason in `error`.
    virtual bool createDirectoryAtPath(const std::string& path, std::string* error) = 0;
    /// Removes a file or a folder with what it holds, following no link and crossing no mount.
    virtual bool removeItemAtPath(const std::string& path) = 0;

    /// Opens a file; a descriptor to be closed by `close`, or -1. `permissions` are for a file that
    /// is made. Never empties a file.
    virtual int open(const std::string& path, std::uint32_t flags, std::uint32_t permissions) = 0;
    /// Bytes read: fewer than asked only at the end; -1 after a failure. May wait for a disk.
    virtual std::int64_t read(int descriptor, void* buffer, std::size_t length) = 0;
    /// Writes all bytes and gives their count, or -1.
    virtual std::int64_t write(int descriptor, const void* buffer, std::size_t length) = 0;
    virtual void close(int descriptor) = 0;

    /// Replaces a file as a whole: a new file (mode 0600) takes its name, what stood there is not
    /// written to. False, and nothing changed, after a failure.
    virtual bool writeDataAtomically(const std::string& path, const PropertyData& data) = 0;
    /// The dictionary of a property list file, XML or binary; none when it cannot be read, is
    /// damaged, holds anything else or is too large to be one.
    virtual std::optional<PropertyDictionary>
    dictionaryWithContentsOfFile(const std::string& path) = 0;

    /// A folder of this user and this process alone (mode 0700), which goes when the process ends;
    /// no slash at the end. Empty when none can be made.
    virtual std::string temporaryDirectory() = 0;
    /// The folder below which volumes appear, no slash at the end.
    virtual std::string volumesFolder() = 0;
};

}  // namespace quillbox
