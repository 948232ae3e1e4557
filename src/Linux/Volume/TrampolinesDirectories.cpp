// SPDX-License-Identifier: GPL-3.0-or-later
// Opening, reading and closing directories.
#include "Linux/Volume/TrampolinesDirectories.h"

#include "Linux/Volume/Answer.h"

#include <string>
#include <vector>

namespace quillbox::volume {
namespace {

// Entries 1 and 2 are "." and "..", the rest follows; an entry's offset is its number.
Result<std::vector<char>> packedListing(fuse_req_t request, Operations& operations, fuse_ino_t node,
                                        const std::vector<std::string>& names, std::size_t size,
                                        std::size_t offset) {
    constexpr std::size_t kDots = 2;
    std::vector<char> buffer(size);
    std::size_t used = 0;
    for (std::size_t place = offset; place < names.size() + kDots; ++place) {
        const char* name = place == 0 ? "." : place == 1 ? ".." : names[place - kDots].c_str();
        struct stat entry = {};
        entry.st_ino =
            place < kDots ? operations.inode(node) : operations.inode(node, names[place - kDots]);
        const std::size_t length = ::fuse_add_direntry(request, buffer.data() + used, size - used,
                                                       name, &entry, static_cast<off_t>(place + 1));
        if (length > size - used) {
            break;
        }
        used += length;
    }
    buffer.resize(used);
    return buffer;
}

// Entries with what is known of them, and the lookups that these count as.
struct PackedEntries {
    std::vector<char> bytes;
    std::vector<NodeId> lookups;
};

// An entry of which nothing can be told is still an entry: whoever asks for it by its name hears
// why. The kernel takes node 0 for a name alone.
fuse_entry_param listedEntry(Operations& operations, Caller& caller, NodeId folder,
                             const std::string& name, std::vector<NodeId>& lookups) {
    const auto found = operations.lookUp(caller, folder, name);
    if (!found) {
        fuse_entry_param unknown = {};
        unknown.attr.st_ino = operations.inode(folder, name);
        return unknown;
    }
    lookups.push_back(found->node);
    fuse_entry_param entry = parameters(operations, *found);
    if (operations.mayBeKept(*found)) {
        entry.attr_timeout = kKeepsWay;
        entry.entry_timeout = kKeepsWay;
    }
    return entry;
}

PackedEntries packedEntries(fuse_req_t request, Operations& operations, Caller& caller,
                            fuse_ino_t node, const std::vector<std::string>& names,
                            std::size_t size, std::size_t offset) {
    constexpr std::size_t kDots = 2;
    PackedEntries packed;
    packed.bytes.resize(size);
    std::size_t used = 0;
    for (std::size_t place = offset; place < names.size() + kDots; ++place) {
        const char* name = place == 0 ? "." : place == 1 ? ".." : names[place - kDots].c_str();
        if (::fuse_add_direntry_plus(request, nullptr, 0, name, nullptr, 0) > size - used) {
            break;
        }
        fuse_entry_param entry = {};
        if (place < kDots) {
            entry.attr.st_ino = operations.inode(node);
            entry.attr.st_mode = S_IFDIR;
        } else {
            entry = listedEntry(operations, caller, node, names[place - kDots], packed.lookups);
        }
        used += ::fuse_add_direntry_plus(request, packed.bytes.data() + used, size - used, name,
                                         &entry, static_cast<off_t>(place + 1));
    }
    packed.bytes.resize(used);
    return packed;
}

}  // namespace

void onOpenDirectory(fuse_req_t request, fuse_ino_t node, fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.openDirectory(caller, node);
        },
        [=](HandleId handle) {
            file->fh = handle;
            return ::fuse_reply_open(request, file);
        },
        [](Operations& operations, HandleId handle) { operations.releaseDirectory(handle); });
}

void onReadDirectory(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset,
                     fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) -> Result<std::vector<char>> {
            const auto place = static_cast<std::uint64_t>(offset);
            const auto names = operations.listing(caller, file->fh, place);
            if (!names) {
                return names.failure();
            }
            return packedListing(request, operations, node, **names, size, place);
        },
        [=](const std::vector<char>& buffer) {
            return ::fuse_reply_buf(request, buffer.data(), buffer.size());
        });
}

void onReadDirectoryPlus(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset,
                         fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) -> Result<PackedEntries> {
            const auto place = static_cast<std::uint64_t>(offset);
            const auto names = operations.listing(caller, file->fh, place);
            if (!names) {
                return names.failure();
            }
            return packedEntries(request, operations, caller, node, **names, size, place);
        },
        [=](const PackedEntries& packed) {
            return ::fuse_reply_buf(request, packed.bytes.data(), packed.bytes.size());
        },
        [](Operations& operations, const PackedEntries& packed) {
            for (const NodeId each : packed.lookups) {
                operations.forget(each, 1);
            }
        });
}

void onReleaseDirectory(fuse_req_t request, fuse_ino_t, fuse_file_info* file) {
    servedBy(request).operations.releaseDirectory(file->fh);
    ::fuse_reply_err(request, 0);
}

}  // namespace quillbox::volume
