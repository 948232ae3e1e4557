// SPDX-License-Identifier: GPL-3.0-or-later
#include "AfcFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <system_error>

namespace quillbox::simulator {
namespace {

using wire::AfcOpenMode;
using Status = wire::AfcStatus;

/// Opens below `folder` as if it were the root of everything: neither ".." nor a link leads out.
int openInside(int folder, const std::string& relative, int flags, unsigned mode = 0) {
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.mode = (flags & O_CREAT) != 0 ? mode : 0;
    how.resolve = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
    for (;;) {
        const long fd = ::syscall(SYS_openat2, folder, relative.c_str(), &how, sizeof how);
        // EAGAIN: a rename elsewhere made the walk uncertain; the walk is done again.
        if (fd >= 0 || (errno != EAGAIN && errno != EINTR)) {
            return static_cast<int>(fd);
        }
    }
}

UniqueFd openFolder(const std::filesystem::path& folder) {
    UniqueFd fd{::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)};
    if (!fd) {
        throw std::system_error{errno, std::generic_category(), folder.string()};
    }
    return fd;
}

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

using Directory = std::unique_ptr<DIR, CloseDirectory>;

Directory readable(UniqueFd folder) {
    Directory directory{::fdopendir(folder.get())};
    if (directory) {
        // The directory owns the descriptor from here on.
        [[maybe_unused]] const int owned = folder.release();
    }
    return directory;
}

const char* formatName(unsigned mode) {
    switch (mode & static_cast<unsigned>(S_IFMT)) {
    case S_IFDIR:
        return "S_IFDIR";
    case S_IFLNK:
        return "S_IFLNK";
    case S_IFBLK:
        return "S_IFBLK";
    case S_IFCHR:
        return "S_IFCHR";
    case S_IFIFO:
        return "S_IFIFO";
    case S_IFSOCK:
        return "S_IFSOCK";
    default:
        return "S_IFREG";
    }
}

std::string nanoseconds(const statx_timestamp& time) {
    return std::to_string(time.tv_sec * 1'000'000'000 + time.tv_nsec);
}

int removeTree(int parent, const std::string& name) {
    if (::unlinkat(parent, name.c_str(), 0) == 0) {
        return 0;
    }
    if (errno != EISDIR && errno != EPERM) {
        return errno;
    }
    UniqueFd folder{
        ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
    if (!folder) {
        return errno;
    }
    std::vector<std::string> names;
    {
        const Directory directory = readable(UniqueFd{::dup(folder.get())});
        if (!directory) {
            return errno;
        }
        while (const dirent* entry = ::readdir(directory.get())) {
            const std::string_view found{entry->d_name};
            if (found != "." && found != "..") {
                names.emplace_back(found);
            }
        }
    }
    for (const std::string& inner : names) {
        if (const int error = removeTree(folder.get(), inner); error != 0) {
            return error;
        }
    }
    return ::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0 ? 0 : errno;
}

std::string procPath(const UniqueFd& fd) {
    return "/proc/self/fd/" + std::to_string(fd.get());
}

}  // namespace

std::string normalizedPath(std::string_view path) {
    std::string result;
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view name = path.substr(0, slash);
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
        if (name.empty() || name == ".") {
            continue;
        }
        if (name == "..") {
            result.resize(result.empty() ? 0 : result.rfind('/'));
            continue;
        }
        result += '/';
        result += name;
    }
    return result.empty() ? "/" : result;
}

AfcFiles::AfcFiles(AfcArea area)
    : root_{openFolder(area.root)}, onlyBelow_{std::move(area.onlyBelow)} {
    for (const AfcArea::Part& part : area.parts) {
        parts_.push_back({part.path, openFolder(part.folder)});
    }
}

Status AfcFiles::locate(const std::string& path, Place& place) const {
    const std::string whole = normalizedPath(path);
    const auto below = [&](const std::string& folder) {
        return whole == folder || (whole.starts_with(folder) && whole.size() > folder.size() &&
                                   whole[folder.size()] == '/');
    };
    if (onlyBelow_ && !below(*onlyBelow_)) {
        return Status::PermissionDenied;
    }
    place = {root_.get(), "." + whole};
    for (const OpenPart& part : parts_) {
        if (below(part.path)) {
            place = {part.folder.get(), "." + whole.substr(part.path.size())};
        }
    }
    return Status::Success;
}

Status AfcFiles::openPath(const std::string& path, int flags, UniqueFd& opened) const {
    Place place;
    if (const Status status = locate(path, place); status != Status::Success) {
        return status;
    }
    opened.reset(openInside(place.folder, place.relative, flags, 0644));
    return opened ? Status::Success : statusOf(errno);
}

Status AfcFiles::locateEntry(const std::string& path, Entry& entry) const {
    Place place;
    if (const Status status = locate(path, place); status != Status::Success) {
        return status;
    }
    const std::size_t slash = place.relative.rfind('/');
    if (slash == std::string::npos || slash + 1 == place.relative.size()) {
        return Status::PermissionDenied;  // the top itself
    }
    entry.name = place.relative.substr(slash + 1);
    entry.parent.reset(
        openInside(place.folder, place.relative.substr(0, slash), O_PATH | O_DIRECTORY));
    return entry.parent ? Status::Success : statusOf(errno);
}

Status AfcFiles::list(const std::string& path, std::vector<std::string>& names) const {
    UniqueFd folder;
    const Status status = openPath(path, O_RDONLY | O_DIRECTORY, folder);
    if (status != Status::Success) {
        return errno == ENOTDIR && status == Status::ObjectNotFound ? Status::ReadError : status;
    }
    const Directory directory = readable(std::move(folder));
    if (!directory) {
        return statusOf(errno);
    }
    errno = 0;
    while (const dirent* entry = ::readdir(directory.get())) {
        names.emplace_back(entry->d_name);
    }
    return errno == 0 ? Status::Success : Status::ReadError;
}

Status AfcFiles::info(const std::string& path, std::vector<wire::KeyValue>& keys) const {
    UniqueFd entry;
    if (const Status status = openPath(path, O_PATH | O_NOFOLLOW, entry);
        status != Status::Success) {
        return status;
    }

    struct statx data {};

    if (::statx(entry.get(), "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &data) != 0) {
        return statusOf(errno);
    }
    const bool born = (data.stx_mask & STATX_BTIME) != 0;
    keys = {{"st_size", std::to_string(data.stx_size)},
            {"st_blocks", std::to_string(data.stx_blocks)},
            {"st_nlink", std::to_string(data.stx_nlink)},
            {"st_ifmt", formatName(data.stx_mode)},
            {"st_mtime", nanoseconds(data.stx_mtime)},
            {"st_birthtime", nanoseconds(born ? data.stx_btime : data.stx_mtime)}};
    if (S_ISLNK(data.stx_mode)) {
        std::array<char, PATH_MAX> target{};
        const ssize_t length = ::readlinkat(entry.get(), "", target.data(), target.size());
        if (length < 0) {
            return statusOf(errno);
        }
        keys.emplace_back("LinkTarget",
                          std::string{target.data(), static_cast<std::size_t>(length)});
    }
    return Status::Success;
}

Status AfcFiles::open(const std::string& path, AfcOpenMode mode, UniqueFd& file) const {
    int flags = 0;
    switch (mode) {
    case AfcOpenMode::Read:
        flags = O_RDONLY;
        break;
    case AfcOpenMode::ReadWrite:
        flags = O_RDWR | O_CREAT;
        break;
    case AfcOpenMode::WriteTruncate:
        flags = O_WRONLY | O_CREAT | O_TRUNC;
        break;
    case AfcOpenMode::ReadTruncate:
        flags = O_RDWR | O_CREAT | O_TRUNC;
        break;
    case AfcOpenMode::Append:
        flags = O_WRONLY | O_CREAT | O_APPEND;
        break;
    case AfcOpenMode::ReadAppend:
        flags = O_RDWR | O_CREAT | O_APPEND;
        break;
    default:
        return Status::InvalidArgument;
    }
    // Without O_NONBLOCK a pipe in a host folder would hold the service up.
    if (const Status status = openPath(path, flags | O_NONBLOCK, file); status != Status::Success) {
        return status;
    }

    struct stat data {};

    if (::fstat(file.get(), &data) != 0) {
        return statusOf(errno);
    }
    if (S_ISDIR(data.st_mode)) {
        file.reset();
        return Status::ObjectIsDirectory;
    }
    return Status::Success;
}

Status AfcFiles::truncate(const std::string& path, std::uint64_t size) const {
    UniqueFd file;
    if (const Status status = openPath(path, O_WRONLY | O_NONBLOCK, file);
        status != Status::Success) {
        return status;
    }
    return ::ftruncate(file.get(), static_cast<off_t>(size)) == 0 ? Status::Success
                                                                  : statusOf(errno);
}

Status AfcFiles::remove(const std::string& path) const {
    Entry entry;
    if (const Status status = locateEntry(path, entry); status != Status::Success) {
        return status;
    }
    if (::unlinkat(entry.parent.get(), entry.name.c_str(), 0) == 0 ||
        ((errno == EISDIR || errno == EPERM) &&
         ::unlinkat(entry.parent.get(), entry.name.c_str(), AT_REMOVEDIR) == 0)) {
        return Status::Success;
    }
    return statusOf(errno);
}

Status AfcFiles::removeAll(const std::string& path) const {
    Entry entry;
    if (const Status status = locateEntry(path, entry); status != Status::Success) {
        return status;
    }
    return statusOf(removeTree(entry.parent.get(), entry.name));
}

Status AfcFiles::makeDirectory(const std::string& path) const {
    const std::string whole = normalizedPath(path);
    for (std::size_t end = whole.find('/', 1);; end = whole.find('/', end + 1)) {
        const bool last = end == std::string::npos;
        Entry entry;
        const std::string step = whole.substr(0, end);
        const Status status = locateEntry(step, entry);
        if (status == Status::Success) {
            if (::mkdirat(entry.parent.get(), entry.name.c_str(), 0755) != 0 && errno != EEXIST) {
                return statusOf(errno);
            }
        } else if (last || status != Status::PermissionDenied) {
            // Parents that may not be reached may well exist: only the last step must be allowed.
            UniqueFd existing;
            return openPath(step, O_PATH | O_DIRECTORY, existing);
        }
        if (last) {
            UniqueFd made;
            const Status kind = openPath(step, O_PATH | O_DIRECTORY, made);
            return kind == Status::Success ? kind : Status::ObjectExists;
        }
    }
}

Status AfcFiles::rename(const std::string& from, const std::string& to) const {
    Entry source;
    Entry target;
    if (const Status status = locateEntry(from, source); status != Status::Success) {
        return status;
    }
    if (const Status status = locateEntry(to, target); status != Status::Success) {
        return status;
    }
    return ::renameat(source.parent.get(), source.name.c_str(), target.parent.get(),
                      target.name.c_str()) == 0
               ? Status::Success
               : statusOf(errno);
}

Status AfcFiles::makeHardLink(const std::string& target, const std::string& name) const {
    Entry existing;
    Entry link;
    if (const Status status = locateEntry(target, existing); status != Status::Success) {
        return status;
    }
    if (const Status status = locateEntry(name, link); status != Status::Success) {
        return status;
    }
    return ::linkat(existing.parent.get(), existing.name.c_str(), link.parent.get(),
                    link.name.c_str(), 0) == 0
               ? Status::Success
               : statusOf(errno);
}

Status AfcFiles::makeSymbolicLink(const std::string& target, const std::string& name) const {
    Entry link;
    if (const Status status = locateEntry(name, link); status != Status::Success) {
        return status;
    }
    if (target.empty()) {
        return Status::InvalidArgument;
    }
    return ::symlinkat(target.c_str(), link.parent.get(), link.name.c_str()) == 0 ? Status::Success
                                                                                  : statusOf(errno);
}

Status AfcFiles::setModificationTime(const std::string& path, std::int64_t nanoseconds) const {
    UniqueFd entry;
    if (const Status status = openPath(path, O_PATH, entry); status != Status::Success) {
        return status;
    }
    constexpr std::int64_t kSecond = 1'000'000'000;
    std::int64_t seconds = nanoseconds / kSecond;
    std::int64_t rest = nanoseconds % kSecond;
    if (rest < 0) {
        --seconds;
        rest += kSecond;
    }
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{seconds, rest}};
    return ::utimensat(AT_FDCWD, procPath(entry).c_str(), times.data(), 0) == 0 ? Status::Success
                                                                                : statusOf(errno);
}

std::uint64_t AfcFiles::hostFreeBytes() const {
    struct statvfs data {};

    return ::fstatvfs(root_.get(), &data) == 0
               ? static_cast<std::uint64_t>(data.f_bavail) * data.f_frsize
               : 0;
}

Status AfcFiles::statusOf(int error) {
    switch (error) {
    case 0:
        return Status::Success;
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
        return Status::ObjectNotFound;
    case EISDIR:
        return Status::ObjectIsDirectory;
    case EACCES:
    case EPERM:
    case EROFS:
        return Status::PermissionDenied;
    case EEXIST:
        return Status::ObjectExists;
    case ENOTEMPTY:
        return Status::DirectoryNotEmpty;
    case EINVAL:
    case ENAMETOOLONG:
    case EBADF:
        return Status::InvalidArgument;
    case ENOSPC:
    case EDQUOT:
        return Status::NoSpaceLeft;
    case EFBIG:
        return Status::TooMuchData;
    case EBUSY:
    case ETXTBSY:
        return Status::ObjectBusy;
    case EWOULDBLOCK:
        return Status::WouldBlock;
    case EXDEV:
    case EOPNOTSUPP:
        return Status::OperationNotSupported;
    case EMFILE:
    case ENFILE:
        return Status::NoResources;
    case ENOMEM:
        return Status::NoMemory;
    case EIO:
        return Status::IoError;
    default:
        return Status::UnknownError;
    }
}

}  // namespace quillbox::simulator
