// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/AtomicFile.h"

#include "Linux/Host/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace quillbox::host {

namespace {

std::string behindLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? std::string(real.get()) : path;
}

int writeNewFile(int descriptor, std::string_view content, mode_t mode) {
    if (const int error = writeFully(descriptor, content); error != 0) {
        return error;
    }
    return ::fchmod(descriptor, mode) == 0 && ::fsync(descriptor) == 0 ? 0 : errno;
}

}  // namespace

std::string folderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

int writeFully(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const auto written = ::write(descriptor, content.data(), content.size());
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int replaceFile(const std::string& path, std::string_view content, mode_t mode, Links links) {
    const std::string target = links == Links::Followed ? behindLinks(path) : path;
    std::string temporary = target + ".new-XXXXXX";
    FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        return errno;
    }
    int error = writeNewFile(file.get(), content, mode);
    file.reset();
    if (error == 0 && std::rename(temporary.c_str(), target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(temporary.c_str());
        return error;
    }
    const FileDescriptor folder(
        ::open(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder && ::fsync(folder.get()) == 0 ? 0 : errno;
}

std::optional<std::string> readWholeFile(const std::string& path, std::size_t limit, int* error) {
    *error = 0;
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::string content;
    std::array<char, 65536> buffer{};
    while (file) {
        const auto count = ::read(file.get(), buffer.data(), buffer.size());
        if (count == 0) {
            return content;
        }
        if (count < 0) {
            break;
        }
        content.append(buffer.data(), static_cast<std::size_t>(count));
        if (content.size() > limit) {
            *error = EFBIG;
            return std::nullopt;
        }
    }
    *error = errno;
    return std::nullopt;
}

int makeFolders(const std::string& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) == 0) {
        return 0;
    }
    if (errno == ENOENT && folderOf(path) != path) {
        if (const int error = makeFolders(folderOf(path), mode); error != 0) {
            return error;
        }
        return ::mkdir(path.c_str(), mode) == 0 || errno == EEXIST ? 0 : errno;
    }
    if (errno != EEXIST) {
        return errno;
    }
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) {
        return errno;
    }
    return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

}  // namespace quillbox::host
