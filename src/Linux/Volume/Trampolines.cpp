// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Trampolines.h"

#include "Linux/Volume/Answer.h"
#include "Linux/Volume/TrampolinesDirectories.h"

#include <chrono>
#include <memory>
#include <span>
#include <utility>

namespace quillbox::volume {
namespace {

constexpr unsigned kLargestRequest = 1024 * 1024;  // bytes of one write, and of reading ahead

void onInit(void* data, fuse_conn_info* connection) {
    connection->max_write = kLargestRequest;
    connection->max_readahead = kLargestRequest;
    connection->want |= connection->capable & (FUSE_CAP_ATOMIC_O_TRUNC | FUSE_CAP_PARALLEL_DIROPS);
    connection->want &= ~static_cast<unsigned>(FUSE_CAP_WRITEBACK_CACHE);
    static_cast<Served*>(data)->wantsParallelFolders =
        (connection->want & FUSE_CAP_PARALLEL_DIROPS) != 0;
}

void onLookUp(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answerEntry(request, [=](Operations& operations, Caller& caller) {
        return operations.lookUp(caller, parent, name);
    });
}

void onForget(fuse_req_t request, fuse_ino_t node, std::uint64_t lookups) {
    servedBy(request).operations.forget(node, lookups);
    ::fuse_reply_none(request);
}

void onForgetMulti(fuse_req_t request, std::size_t count, fuse_forget_data* forgets) {
    for (const fuse_forget_data& forget : std::span(forgets, count)) {
        servedBy(request).operations.forget(forget.ino, forget.nlookup);
    }
    ::fuse_reply_none(request);
}

void onGetAttributes(fuse_req_t request, fuse_ino_t node, fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.attributes(caller, node, handleOf(file));
        },
        [=](const struct stat& attributes) {
            return ::fuse_reply_attr(request, &attributes, kKeepsNothing);
        });
}

std::int64_t nanoseconds(const timespec& time) {
    // Years beyond 2262 do not fit; the range's end is as good as any.
    constexpr std::int64_t kPerSecond = 1'000'000'000;
    constexpr std::int64_t kLimit = INT64_MAX / kPerSecond - 1;
    if (time.tv_sec > kLimit) {
        return INT64_MAX;
    }
    return time.tv_sec < -kLimit ? -1 : time.tv_sec * kPerSecond + time.tv_nsec;
}

Changes changesOf(const struct stat& wanted, int set) {
    Changes changes;
    if ((set & FUSE_SET_ATTR_MODE) != 0) {
        changes.mode = wanted.st_mode;
    }
    if ((set & FUSE_SET_ATTR_UID) != 0) {
        changes.user = wanted.st_uid;
    }
    if ((set & FUSE_SET_ATTR_GID) != 0) {
        changes.group = wanted.st_gid;
    }
    if ((set & FUSE_SET_ATTR_SIZE) != 0) {
        changes.size = static_cast<std::uint64_t>(wanted.st_size);
    }
    if ((set & FUSE_SET_ATTR_MTIME_NOW) != 0) {
        if (!changes.size) {  // a new size makes a new date by itself
            changes.modified = std::chrono::duration_cast<std::chrono::nanoseconds>(
                                   std::chrono::system_clock::now().time_since_epoch())
                                   .count();
        }
    } else if ((set & FUSE_SET_ATTR_MTIME) != 0) {
        changes.modified = nanoseconds(wanted.st_mtim);
    }
    return changes;
}

void onSetAttributes(fuse_req_t request, fuse_ino_t node, struct stat* wanted, int set,
                     fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.change(caller, node, handleOf(file), changesOf(*wanted, set));
        },
        [=](const struct stat& attributes) {
            return ::fuse_reply_attr(request, &attributes, kKeepsNothing);
        });
}

void onAccess(fuse_req_t request, fuse_ino_t node, int wanted) {
    answerDone(request,
               [=](Operations& operations, Caller&) { return operations.mayAccess(node, wanted); });
}

void onReadLink(fuse_req_t request, fuse_ino_t node) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.symbolicLinkTarget(caller, node);
        },
        [=](const std::string& target) { return ::fuse_reply_readlink(request, target.c_str()); });
}

void onMakeNode(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode, dev_t) {
    answerEntry(request, [=](Operations& operations, Caller& caller) -> Result<Entry> {
        if (!S_ISREG(mode)) {
            return Failure{EPERM};  // what mknod(2) says of a file system without special files
        }
        return operations.makeFile(caller, parent, name, mode);
    });
}

void onMakeDirectory(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode) {
    answerEntry(request, [=](Operations& operations, Caller& caller) {
        return operations.makeDirectory(caller, parent, name, mode);
    });
}

void onRemoveFile(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answerDone(request, [=](Operations& operations, Caller& caller) {
        return operations.removeFile(caller, parent, name);
    });
}

void onRemoveDirectory(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answerDone(request, [=](Operations& operations, Caller& caller) {
        return operations.removeDirectory(caller, parent, name);
    });
}

void onMakeSymbolicLink(fuse_req_t request, const char* target, fuse_ino_t parent,
                        const char* name) {
    answerEntry(request, [=](Operations& operations, Caller& caller) {
        return operations.makeSymbolicLink(caller, parent, name, target);
    });
}

void onRename(fuse_req_t request, fuse_ino_t parent, const char* name, fuse_ino_t newParent,
              const char* newName, unsigned flags) {
    answerDone(request, [=](Operations& operations, Caller& caller) {
        return operations.rename(caller, parent, name, newParent, newName, flags);
    });
}

void onMakeLink(fuse_req_t request, fuse_ino_t node, fuse_ino_t newParent, const char* newName) {
    answerEntry(request, [=](Operations& operations, Caller& caller) {
        return operations.makeLink(caller, node, newParent, newName);
    });
}

void onOpen(fuse_req_t request, fuse_ino_t node, fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.open(caller, node, file->flags);
        },
        [=](HandleId handle) {
            file->fh = handle;
            return ::fuse_reply_open(request, file);
        },
        [](Operations& operations, HandleId handle) { operations.release(handle); });
}

void onCreate(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode,
              fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.create(caller, parent, name, mode, file->flags);
        },
        [=](const CreatedFile& created) {
            const fuse_entry_param answered =
                parameters(servedBy(request).operations, created.entry);
            file->fh = created.handle;
            return ::fuse_reply_create(request, &answered, file);
        },
        [](Operations& operations, const CreatedFile& created) {
            operations.release(created.handle);
            operations.forget(created.entry.node, 1);
        });
}

// Where a thread reads to, kept from read to read: not filled with zeros, as a vector would be, and
// not taken from the system each time.
char* readingRoom(std::size_t size) {
    thread_local std::unique_ptr<char[]> room;
    thread_local std::size_t roomSize = 0;
    if (size > roomSize) {
        room = std::make_unique_for_overwrite<char[]>(size);
        roomSize = size;
    }
    return room.get();
}

void onRead(fuse_req_t request, fuse_ino_t, std::size_t size, off_t offset, fuse_file_info* file) {
    Served& served = servedBy(request);  // the request is gone with its answer
    char* bytes = nullptr;
    answer(
        request,
        [=, &bytes](Operations& operations, Caller& caller) {
            bytes = readingRoom(size);
            return operations.read(caller, file->fh, bytes, size, offset);
        },
        [=, &bytes](std::size_t count) { return ::fuse_reply_buf(request, bytes, count); });
    served.operations.useMoment();
}

void onWrite(fuse_req_t request, fuse_ino_t, const char* bytes, std::size_t size, off_t offset,
             fuse_file_info* file) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.write(caller, file->fh, bytes, size, offset);
        },
        [=](std::size_t count) { return ::fuse_reply_write(request, count); });
}

void onFlush(fuse_req_t request, fuse_ino_t, fuse_file_info* file) {
    answerDone(request, [=](Operations& operations, Caller& caller) {
        return operations.flush(caller, file->fh);
    });
}

void onSync(fuse_req_t request, fuse_ino_t, int, fuse_file_info* file) {
    answerDone(request, [=](Operations& operations, Caller& caller) {
        return operations.sync(caller, file->fh);
    });
}

// What changes in a folder is on the device as soon as it is answered.
void onSyncDirectory(fuse_req_t request, fuse_ino_t, int, fuse_file_info*) {
    answerDone(request, [](Operations&, Caller&) { return Result<Done>(Done{}); });
}

void onRelease(fuse_req_t request, fuse_ino_t, fuse_file_info* file) noexcept {
    try {
        servedBy(request).operations.release(file->fh);
    } catch (...) {
        ::fuse_reply_err(request, EIO);
        return;
    }
    ::fuse_reply_err(request, 0);
}

void onVolumeFigures(fuse_req_t request, fuse_ino_t) {
    answer(
        request,
        [](Operations& operations, Caller& caller) { return operations.volumeFigures(caller); },
        [=](const struct statvfs& figures) { return ::fuse_reply_statfs(request, &figures); });
}

// The kernel first asks for the size alone, with a size of 0.
template <typename Bytes>
int replyAttributeBytes(fuse_req_t request, const Bytes& bytes, std::size_t size) {
    if (size == 0) {
        return ::fuse_reply_xattr(request, bytes.size());
    }
    if (bytes.size() > size) {
        return ::fuse_reply_err(request, ERANGE);
    }
    return ::fuse_reply_buf(request, reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

void onGetExtended(fuse_req_t request, fuse_ino_t node, const char* name, std::size_t size) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.extendedAttribute(caller, node, name);
        },
        [=](const PropertyData& value) { return replyAttributeBytes(request, value, size); });
}

void onSetExtended(fuse_req_t request, fuse_ino_t node, const char* name, const char* value,
                   std::size_t size, int flags) {
    answerDone(request, [=](Operations& operations, Caller& caller) {
        return operations.setExtendedAttribute(caller, node, name,
                                               PropertyData(value, value + size), flags);
    });
}

void onListExtended(fuse_req_t request, fuse_ino_t node, std::size_t size) {
    answer(
        request,
        [=](Operations& operations, Caller& caller) {
            return operations.extendedAttributeNames(caller, node);
        },
        [=](const std::string& names) { return replyAttributeBytes(request, names, size); });
}

// A delegate has no such operation.
void onRemoveExtended(fuse_req_t request, fuse_ino_t, const char*) {
    answerDone(request, [](Operations&, Caller&) { return Result<Done>(Failure{ENOTSUP}); });
}

fuse_lowlevel_ops table() {
    fuse_lowlevel_ops operations = {};
    operations.init = onInit;
    operations.lookup = onLookUp;
    operations.forget = onForget;
    operations.forget_multi = onForgetMulti;
    operations.getattr = onGetAttributes;
    operations.setattr = onSetAttributes;
    operations.access = onAccess;
    operations.readlink = onReadLink;
    operations.mknod = onMakeNode;
    operations.mkdir = onMakeDirectory;
    operations.unlink = onRemoveFile;
    operations.rmdir = onRemoveDirectory;
    operations.symlink = onMakeSymbolicLink;
    operations.rename = onRename;
    operations.link = onMakeLink;
    operations.open = onOpen;
    operations.create = onCreate;
    operations.read = onRead;
    operations.write = onWrite;
    operations.flush = onFlush;
    operations.fsync = onSync;
    operations.release = onRelease;
    operations.opendir = onOpenDirectory;
    operations.readdir = onReadDirectory;
    operations.readdirplus = onReadDirectoryPlus;
    operations.releasedir = onReleaseDirectory;
    operations.fsyncdir = onSyncDirectory;
    operations.statfs = onVolumeFigures;
    operations.getxattr = onGetExtended;
    operations.setxattr = onSetExtended;
    operations.listxattr = onListExtended;
    operations.removexattr = onRemoveExtended;
    return operations;
}

}  // namespace

const fuse_lowlevel_ops& trampolines() {
    static const fuse_lowlevel_ops kTable = table();
    return kTable;
}

}  // namespace quillbox::volume
