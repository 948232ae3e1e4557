// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Session/CallbackLog.h"
#include "Core/Session/NSError+POSIX.h"
#include "Core/Session/PodPhone.h"

#include <array>
#include <cerrno>
#include <chrono>

namespace quillbox {

namespace {

struct FileKind {
    std::string_view format;
    std::string_view type;
    std::int32_t permissions;
};

/// The device's own mode bits are never read: its files are open to whoever sees the volume. Block
/// devices carry the mode word of character devices, by design.
constexpr std::array kFileKinds = {
    FileKind{"S_IFDIR", NSFileTypeDirectory, 040777},
    FileKind{"S_IFREG", NSFileTypeRegular, 0100666},
    FileKind{"S_IFLNK", NSFileTypeSymbolicLink, 0120666},
    FileKind{"S_IFSOCK", NSFileTypeSocket, 0140644},
    FileKind{"S_IFCHR", NSFileTypeCharacterSpecial, 020644},
    FileKind{"S_IFBLK", NSFileTypeBlockSpecial, 020644},
};
constexpr FileKind kUnknownKind{"", NSFileTypeUnknown, 0755};

std::string_view textIn(const FileInfo& info, std::string_view key) {
    const auto found = info.find(key);
    return found == info.end() ? std::string_view() : std::string_view(found->second);
}

std::int64_t numberIn(const FileInfo& info, std::string_view key) {
    return decimalValue(textIn(info, key));
}

const FileKind& kindOf(const FileInfo& info) {
    const std::string_view format = textIn(info, "st_ifmt");
    for (const FileKind& kind : kFileKinds) {
        if (kind.format == format) {
            return kind;
        }
    }
    return kUnknownKind;
}

/// A device time, nanoseconds, as a date of whole seconds, cut towards zero.
PropertyDate dateIn(const FileInfo& info, std::string_view key) {
    return PropertyDate(std::chrono::seconds(numberIn(info, key) / 1'000'000'000));
}

std::int64_t figureIn(const DeviceInfo& info, std::string_view key) {
    const auto found = info.find(key);
    return found == info.end() ? 0 : found->second;
}

std::int64_t shownSize(const DeviceInfo& info, std::string_view key) {
    return static_cast<std::int64_t>(
        PodPhone::convertFileSystemSize(static_cast<std::uint64_t>(figureIn(info, key))));
}

}  // namespace

std::optional<PropertyDictionary> PodPhone::attributesOfItemAtPath(const std::string& path,
                                                                   const GMUserData& /*userData*/,
                                                                   GMErrorOut error) {
    constexpr std::string_view kSelector = "attributesOfItemAtPath:userData:error:";
    const AFCConnectionRef connection = myConnection_;
    const std::string devicePath = devicePathForVolumePath(path);
    logCallback(kSelector, " ", devicePath);
    if (!fileExists(connection, devicePath)) {
        logCallback("Error: ", kSelector, " ", devicePath);
        NSErrorPOSIX::set(error, ENOENT);
        return std::nullopt;
    }
    const auto info = fileInfo(connection, devicePath);
    if (!info) {
        NSErrorPOSIX::set(error, ENOENT);
        return std::nullopt;
    }
    const FileKind& kind = kindOf(*info);
    PropertyDictionary attributes;
    attributes.emplace(NSFileType, kind.type);
    attributes.emplace(NSFileSize, static_cast<std::uint64_t>(numberIn(*info, "st_size")));
    attributes.emplace(NSFileCreationDate, dateIn(*info, "st_birthtime"));
    attributes.emplace(NSFileModificationDate, dateIn(*info, "st_mtime"));
    attributes.emplace(NSFilePosixPermissions, kind.permissions);
    attributes.emplace(NSFileReferenceCount,
                       static_cast<std::int32_t>(numberIn(*info, "st_nlink")));
    return attributes;
}

std::optional<PropertyDictionary>
PodPhone::attributesOfFileSystemForPath(const std::string& /*path*/, GMErrorOut error) {
    NSErrorPOSIX::set(error, errno);
    const auto info = getDeviceInfo();
    if (!info) {
        return std::nullopt;
    }
    PropertyDictionary attributes;
    attributes.emplace(NSFileSystemSize, shownSize(*info, "FSTotalBytes"));
    attributes.emplace(NSFileSystemFreeSize, shownSize(*info, "FSFreeBytes"));
    attributes.emplace(NSFileSystemNodes, std::uint64_t{1024});
    attributes.emplace(NSFileSystemFreeNodes, std::uint64_t{1024});
    attributes.emplace(NSFileDeviceIdentifier, static_cast<std::int32_t>(figureIn(*info, "Model")));
    attributes.emplace(kGMUserFileSystemVolumeSupportsExtendedDatesKey, true);
    return attributes;
}

std::uint64_t PodPhone::convertFileSystemSize(std::uint64_t bytes) {
    const auto count = static_cast<double>(bytes);
    if (bytes < 1024) {
        return bytes;
    }
    if (bytes <= 0xFFFFF) {
        return static_cast<std::uint64_t>(count / 1024.0 * 1000.0);
    }
    if (bytes < 1'073'741'824) {
        return static_cast<std::uint64_t>(count / 1'048'576.0 * 1'000'000.0);
    }
    return static_cast<std::uint64_t>(count / 1'073'741'824.0 * 1'000'000'000.0);
}

bool PodPhone::isDirectory(const std::string& path) {
    const auto info = GetFileInfo(path);
    if (!info) {
        return false;
    }
    const std::string_view format = textIn(*info, "st_ifmt");
    return format == "S_IFDIR" || format == "S_IFLNK";
}

std::int64_t PodPhone::getFileSize(const std::string& path) {
    return fileSize(myConnection_, path);
}

std::int64_t PodPhone::fileSize(AFCConnectionRef connection, const std::string& path) {
    const auto info = fileInfo(connection, path);
    return info ? numberIn(*info, "st_size") : 0;
}

PropertyDate PodPhone::getDateModified(const std::string& path) {
    const auto info = GetFileInfo(path);
    return info ? dateIn(*info, "st_mtime") : PropertyDate();
}

}  // namespace quillbox
