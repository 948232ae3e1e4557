// SPDX-License-Identifier: GPL-3.0-or-later
#include "MemoryDelegate.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace quillbox::test {
namespace {

constexpr std::uint64_t kVolumeSize = 16'000'000'000;
constexpr std::uint64_t kVolumeFree = 4'096'000'000;

void setError(GMErrorOut error, int code) {
    if (error != nullptr) {
        *error = NSError::errorWithDomain(NSPOSIXErrorDomain, code);
    }
}

std::uint64_t fileOf(const GMUserData& userData) {
    return userData == nullptr ? 0 : find(*userData, "fileRef")->unsignedValue();
}

}  // namespace

class MemoryDelegate::Inside {
public:
    explicit Inside(MemoryDelegate& delegate) : delegate_(delegate) {
        ++delegate_.calls_;
        if (++delegate_.inside_ > 1) {
            delegate_.overlaps_ = true;
        }
    }

    ~Inside() { --delegate_.inside_; }

    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    MemoryDelegate& delegate_;
};

std::optional<std::vector<std::string>>
MemoryDelegate::contentsOfDirectoryAtPath(const std::string& path, GMErrorOut error) {
    const Inside inside(*this);
    std::vector<std::string> names;
    if (device_->list(path, &names) != 0) {
        setError(error, ENOENT);
        return std::nullopt;
    }
    return names;
}

std::optional<PropertyDictionary> MemoryDelegate::attributesOfItemAtPath(const std::string& path,
                                                                         const GMUserData&,
                                                                         GMErrorOut error) {
    const Inside inside(*this);
    if (throws) {
        throw std::runtime_error("a delegate that throws");
    }
    MemoryDevice::Item item;
    if (device_->info(path, &item) != 0) {
        setError(error, ENOENT);
        return std::nullopt;
    }
    std::string_view type = NSFileTypeUnknown;
    std::uint32_t mode = 0755;
    std::uint64_t size = item.content.size();
    switch (item.kind) {
    case MemoryDevice::Item::Kind::Folder:
        type = NSFileTypeDirectory;
        mode = 040777;
        break;
    case MemoryDevice::Item::Kind::File:
        type = NSFileTypeRegular;
        mode = 0100666;
        break;
    case MemoryDevice::Item::Kind::Link:
        type = NSFileTypeSymbolicLink;
        mode = 0120666;
        break;
    case MemoryDevice::Item::Kind::Odd:
        if (item.content == "negative size") {
            size = static_cast<std::uint64_t>(-5);
        }
        break;
    }
    const PropertyDate modified{std::chrono::nanoseconds(item.modified)};
    return PropertyDictionary{{std::string(NSFileType), type},
                              {std::string(NSFileSize), size},
                              {std::string(NSFileCreationDate), modified},
                              {std::string(NSFileModificationDate), modified},
                              {std::string(NSFilePosixPermissions), mode},
                              {std::string(NSFileReferenceCount), item.links}};
}

std::optional<PropertyDictionary> MemoryDelegate::attributesOfFileSystemForPath(const std::string&,
                                                                                GMErrorOut error) {
    const Inside inside(*this);
    setError(error, errno);
    if (device_->figures() != 0) {
        return std::nullopt;
    }
    return PropertyDictionary{{std::string(NSFileSystemSize), kVolumeSize},
                              {std::string(NSFileSystemFreeSize), kVolumeFree},
                              {std::string(NSFileSystemNodes), std::uint64_t{1024}},
                              {std::string(NSFileSystemFreeNodes), std::uint64_t{1024}}};
}

bool MemoryDelegate::setAttributes(const PropertyDictionary&, const std::string& path,
                                   const GMUserData&, GMErrorOut error) {
    const Inside inside(*this);
    setError(error, EPERM);
    return device_->info(path, nullptr) == 0;
}

bool MemoryDelegate::openFileAtPath(const std::string& path, std::int32_t mode,
                                    GMUserData* userData, GMErrorOut error) {
    const Inside inside(*this);
    lastMode_ = mode;
    std::uint64_t file = 0;
    if (device_->info(path, nullptr) != 0 || device_->open(path, false, &file) != 0) {
        setError(error, ENOENT);
        return false;
    }
    *userData = std::make_shared<PropertyDictionary>(PropertyDictionary{{"fileRef", file}});
    return true;
}

bool MemoryDelegate::createFileAtPath(const std::string& path, const PropertyDictionary&,
                                      GMUserData* userData, GMErrorOut error) {
    const Inside inside(*this);
    std::uint64_t file = 0;
    if (device_->open(path, true, &file) != 0) {
        setError(error, EIO);
        return false;
    }
    *userData = std::make_shared<PropertyDictionary>(PropertyDictionary{{"fileRef", file}});
    return true;
}

void MemoryDelegate::releaseFileAtPath(const std::string& path, const GMUserData& userData) {
    const Inside inside(*this);
    {
        const std::lock_guard lock(mutex_);
        lastReleased_ = path;
    }
    device_->close(fileOf(userData));
}

std::int32_t MemoryDelegate::readFileAtPath(const std::string&, const GMUserData& userData,
                                            char* buffer, std::uint64_t size, std::int64_t offset,
                                            GMErrorOut error) {
    const Inside inside(*this);
    std::string bytes;
    if (device_->read(fileOf(userData), static_cast<std::uint64_t>(offset), size, &bytes) != 0) {
        setError(error, EIO);
        return -2;
    }
    std::memcpy(buffer, bytes.data(), bytes.size());
    return static_cast<std::int32_t>(bytes.size());
}

std::int32_t MemoryDelegate::writeFileAtPath(const std::string&, const GMUserData& userData,
                                             const char* buffer, std::uint64_t size,
                                             std::int64_t offset, GMErrorOut error) {
    const Inside inside(*this);
    if (device_->write(fileOf(userData), static_cast<std::uint64_t>(offset),
                       std::string(buffer, size)) != 0) {
        setError(error, EIO);
        return -2;
    }
    return static_cast<std::int32_t>(size);
}

bool MemoryDelegate::createDirectoryAtPath(const std::string& path, const PropertyDictionary&,
                                           GMErrorOut) {
    const Inside inside(*this);
    return device_->makeFolder(path) == 0;
}

bool MemoryDelegate::moveItemAtPath(const std::string& path, const std::string& toPath,
                                    GMErrorOut) {
    const Inside inside(*this);
    return device_->rename(path, toPath) == 0;
}

bool MemoryDelegate::removeAt(const std::string& path, GMErrorOut error) {
    const Inside inside(*this);
    if (device_->info(path, nullptr) != 0) {
        return true;
    }
    if (device_->remove(path) != 0) {
        setError(error, ENOTSUP);
        return false;
    }
    return true;
}

bool MemoryDelegate::removeDirectoryAtPath(const std::string& path, GMErrorOut error) {
    return removeAt(path, error);
}

bool MemoryDelegate::removeItemAtPath(const std::string& path, GMErrorOut error) {
    return removeAt(path, error);
}

bool MemoryDelegate::linkItemAtPath(const std::string& path, const std::string& toPath,
                                    GMErrorOut error) {
    const Inside inside(*this);
    setError(error, ENOTSUP);
    return device_->hardLink(path, toPath) == 0;
}

bool MemoryDelegate::createSymbolicLinkAtPath(const std::string& path,
                                              const std::string& withDestinationPath,
                                              GMErrorOut error) {
    const Inside inside(*this);
    setError(error, ENOTSUP);
    return device_->symbolicLink(path, withDestinationPath) == 0;
}

std::optional<std::string> MemoryDelegate::destinationOfSymbolicLinkAtPath(const std::string& path,
                                                                           GMErrorOut) {
    const Inside inside(*this);
    MemoryDevice::Item item;
    if (device_->info(path, &item) != 0 || item.kind != MemoryDevice::Item::Kind::Link) {
        return std::nullopt;
    }
    return item.content;
}

std::optional<PropertyData> MemoryDelegate::valueOfExtendedAttribute(const std::string&,
                                                                     const std::string&,
                                                                     std::int64_t,
                                                                     GMErrorOut error) {
    const Inside inside(*this);
    setError(error, ENOTSUP);
    return std::nullopt;
}

bool MemoryDelegate::setExtendedAttribute(const std::string&, const std::string&,
                                          const PropertyData&, std::int64_t position, std::int32_t,
                                          GMErrorOut error) {
    const Inside inside(*this);
    if (position != 0) {
        setError(error, ENOTSUP);
        return false;
    }
    return true;
}

std::optional<std::vector<std::string>>
MemoryDelegate::extendedAttributesOfItemAtPath(const std::string&, GMErrorOut error) {
    const Inside inside(*this);
    setError(error, ENOTSUP);
    return std::nullopt;
}

AFCError MemoryBacking::setFileSize(const std::string& path, const GMUserData& userData,
                                    std::uint64_t size) {
    return userData == nullptr ? device_->setSize(path, size)
                               : device_->setFileSize(fileOf(userData), size);
}

AFCError MemoryBacking::setModificationTime(const std::string& path, std::int64_t nanoseconds) {
    return device_->setTime(path, nanoseconds);
}

}  // namespace quillbox::test
