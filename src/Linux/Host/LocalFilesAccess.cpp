// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/AtomicFile.h"
#include "Linux/Host/LocalFiles.h"
#include "Linux/Host/OwnFiles.h"
#include "Linux/Host/UserFolders.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <string_view>

namespace quillbox::host {

namespace {

constexpr std::size_t kLargestPropertyList = std::size_t{16} << 20U;

int hostFlags(std::uint32_t flags) {
    return ((flags & kHostReadWrite) != 0 ? O_RDWR : O_RDONLY) |
           ((flags & kHostCreate) != 0 ? O_CREAT : 0);
}

}  // namespace

std::optional<std::uint64_t> LocalFiles::fileSizeAtPath(const std::string& path) {
    struct stat status = {};
    if (isOnVolume(path) || ::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

int LocalFiles::open(const std::string& path, std::uint32_t flags, std::uint32_t permissions) {
    return isOnVolume(path) ? -1
                            : openOwnFile(path, hostFlags(flags), permissions & 0777U).release();
}

std::int64_t LocalFiles::read(int descriptor, void* buffer, std::size_t length) {
    return readFully(descriptor, buffer, length);
}

std::int64_t LocalFiles::write(int descriptor, const void* buffer, std::size_t length) {
    return writeFully(descriptor, {static_cast<const char*>(buffer), length}) == 0
               ? static_cast<std::int64_t>(length)
               : -1;
}

void LocalFiles::close(int descriptor) {
    FileDescriptor file(descriptor);
}

bool LocalFiles::writeDataAtomically(const std::string& path, const PropertyData& data) {
    const std::string_view content(reinterpret_cast<const char*>(data.data()), data.size());
    return !isOnVolume(path) && replaceFile(path, content, 0600, Links::Replaced) == 0;
}

std::optional<PropertyDictionary>
LocalFiles::dictionaryWithContentsOfFile(const std::string& path) {
    const FileDescriptor file =
        isOnVolume(path) ? FileDescriptor() : openOwnFile(path, O_RDONLY, 0);
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 ||
        static_cast<std::uint64_t>(status.st_size) > kLargestPropertyList) {
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const auto count = readFully(file.get(), text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    // Readers are lenient: a list that lost its end would come back short.
    const bool isWhole = text.starts_with("bplist") || text.find("</plist>") != std::string::npos;
    return isWhole && propertyLists_ ? propertyLists_(text) : std::nullopt;
}

std::string LocalFiles::temporaryDirectory() {
    const std::lock_guard guard(temporaryMutex_);
    struct stat status = {};
    // A cleaner of temporary folders may have taken it away.
    if (!temporary_ || ::lstat(temporary_->path().c_str(), &status) != 0) {
        std::string error;
        auto folder = PrivateFolder::make(temporaryFolder(), &error);
        temporary_.reset();
        if (folder) {
            temporary_.emplace(*std::move(folder));
        }
    }
    return temporary_ ? temporary_->path() : std::string();
}

}  // namespace quillbox::host
