// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UniqueFd.h"
#include "Wire/AfcLists.h"
#include "Wire/AfcProtocol.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::simulator {

/// What a file service shows of the host's files.
struct AfcArea {
    /// The host folder that is "/" of the service.
    std::filesystem::path root;

    /// A path of the service that lies in another host folder, the way the media area lies in the
    /// whole file system. The folder's name must exist below its parent, so that it is listed.
    struct Part {
        std::string path;  ///< "/private/var/mobile/Media"
        std::filesystem::path folder;
    };

    std::vector<Part> parts;
    /// When set, only this path and what lies below it may be reached; all else is permission
    /// denied.
    std::optional<std::string> onlyBelow;
};

/// The files of one file service connection: requests by path, answered with the service's own
/// statuses. Paths begin at the area's root; ".." stops there, and no symbolic link leads out of
/// the host folder. Used by one thread.
class AfcFiles {
public:
    /// Throws std::system_error when a folder cannot be opened.
    explicit AfcFiles(AfcArea area);

    using Status = wire::AfcStatus;

    /// Names in the folder, "." and ".." among them.
    [[nodiscard]] Status list(const std::string& path, std::vector<std::string>& names) const;
    /// Keys of the entry itself; a symbolic link is not followed.
    [[nodiscard]] Status info(const std::string& path, std::vector<wire::KeyValue>& keys) const;
    /// Opens a file; a symbolic link is followed.
    [[nodiscard]] Status open(const std::string& path, wire::AfcOpenMode mode,
                              UniqueFd& file) const;
    [[nodiscard]] Status truncate(const std::string& path, std::uint64_t size) const;
    /// Removes a file, a link or an empty folder.
    [[nodiscard]] Status remove(const std::string& path) const;
    [[nodiscard]] Status removeAll(const std::string& path) const;
    /// Makes a folder and its missing parents; an existing folder is success.
    [[nodiscard]] Status makeDirectory(const std::string& path) const;
    [[nodiscard]] Status rename(const std::string& from, const std::string& to) const;
    [[nodiscard]] Status makeHardLink(const std::string& target, const std::string& name) const;
    [[nodiscard]] Status makeSymbolicLink(const std::string& target, const std::string& name) const;
    /// Nanoseconds since 1970; a symbolic link is followed.
    [[nodiscard]] Status setModificationTime(const std::string& path,
                                             std::int64_t nanoseconds) const;

    /// Free bytes on the host below the root.
    [[nodiscard]] std::uint64_t hostFreeBytes() const;

    /// The status that stands for an error number of the host.
    [[nodiscard]] static Status statusOf(int error);

private:
    struct OpenPart {
        std::string path;
        UniqueFd folder;
    };

    /// A path within one host folder.
    struct Place {
        int folder = -1;
        std::string relative;  ///< "." for the folder itself
    };

    /// The last name of a path and the folder that holds it.
    struct Entry {
        UniqueFd parent;
        std::string name;
    };

    [[nodiscard]] Status locate(const std::string& path, Place& place) const;
    [[nodiscard]] Status locateEntry(const std::string& path, Entry& entry) const;
    [[nodiscard]] Status openPath(const std::string& path, int flags, UniqueFd& opened) const;

    UniqueFd root_;
    std::vector<OpenPart> parts_;
    std::optional<std::string> onlyBelow_;
};

/// The path with exactly one slash before each name, "." and empty names dropped, ".." resolved and
/// stopped at the top; "/" for the top itself.
[[nodiscard]] std::string normalizedPath(std::string_view path);

}  // namespace quillbox::simulator
