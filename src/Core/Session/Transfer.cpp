// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"
#include "Core/Session/PodPhone.h"

#include <algorithm>
#include <limits>

namespace quillbox {

namespace {

constexpr std::int64_t kReadChunk = 0x10000;
constexpr std::uint64_t kCopyChunk = 0x40000;
constexpr std::uint64_t kLargestCopy = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kReadingMode = 2;  ///< makes a file that is not there
constexpr std::uint64_t kWritingMode = 3;
constexpr std::uint64_t kFromTheStart = 0;
constexpr std::uint32_t kReadPermissions = 0444;
constexpr std::uint32_t kWritePermissions = 0777;

}  // namespace

bool PodPhone::appendFileData(AFCConnectionRef connection, AFCFileRef file, std::int64_t length,
                              PropertyData& data) {
    PropertyData buffer(static_cast<std::size_t>(kReadChunk));
    const auto readOnce = [&](std::uint64_t& request) {
        if (platform_.afc.AFCFileRefRead(connection, file, buffer.data(), &request) !=
            kAFCSuccess) {
            return false;
        }
        const auto count = std::min<std::uint64_t>(request, buffer.size());
        data.insert(data.end(), buffer.begin(),
                    buffer.begin() + static_cast<PropertyData::difference_type>(count));
        return true;
    };
    auto request = static_cast<std::uint64_t>(kReadChunk);
    // The request is not set anew: behind a short read only as much is asked for as that gave.
    for (; length > kReadChunk; length -= kReadChunk) {
        if (!readOnce(request)) {
            return false;
        }
        request = std::min(request, static_cast<std::uint64_t>(kReadChunk));
    }
    request = static_cast<std::uint64_t>(length);
    return readOnce(request);
}

std::optional<PropertyData> PodPhone::readFileData(AFCConnectionRef connection,
                                                   const std::string& path, std::int64_t offset,
                                                   std::int64_t length) {
    if (length < 0 || length > kLargestFileInMemory) {
        return std::nullopt;
    }
    auto& afc = platform_.afc;
    AFCFileRef file = 0;
    PropertyData data;
    if (afc.AFCFileRefOpen(connection, path, kReadingMode, &file) != kAFCSuccess ||
        afc.AFCFileRefSeek(connection, file, offset, kFromTheStart) != kAFCSuccess ||
        !appendFileData(connection, file, length, data)) {
        return std::nullopt;
    }
    afc.AFCFileRefClose(connection, file);
    return data;
}

std::optional<PropertyData> PodPhone::readDataOfFile(AFCConnectionRef connection,
                                                     const std::string& path) {
    return readFileData(connection, path, 0, fileSize(connection, path));
}

std::optional<PropertyData> PodPhone::readFileData(const std::string& path, std::int64_t withOffset,
                                                   std::int64_t lengthInBytes) {
    return readFileData(myConnection_, path, withOffset, lengthInBytes);
}

std::optional<PropertyData> PodPhone::readDataOfFile(const std::string& path) {
    return readDataOfFile(myConnection_, path);
}

bool PodPhone::attemptFileRead(const std::string& path, std::optional<PropertyData>* fileData) {
    const AFCConnectionRef connection = myConnection_;
    const std::int64_t length = fileSize(connection, path);
    AFCFileRef file = 0;
    if (length < 0 || length > kLargestFileInMemory ||
        platform_.afc.AFCFileRefOpen(connection, path, kReadingMode, &file) != kAFCSuccess) {
        return false;
    }
    PropertyData& data = fileData->emplace();
    if (!appendFileData(connection, file, length, data)) {
        return false;
    }
    platform_.afc.AFCFileRefClose(connection, file);
    return !data.empty();
}

bool PodPhone::copyFileToIPhone(const std::string& sourcePath, const std::string& targetPath) {
    return copyFileToIPhone(myConnection_, sourcePath, targetPath);
}

bool PodPhone::copyFileToIPhone(AFCConnectionRef connection, const std::string& sourcePath,
                                const std::string& targetPath) {
    auto& afc = platform_.afc;
    auto& files = platform_.files;
    if (fileExists(connection, targetPath)) {
        afc.AFCRemovePath(connection, targetPath);
    }
    if (!files.fileExistsAtPath(sourcePath)) {
        return false;
    }
    const int source = files.open(sourcePath, kHostReadOnly, kReadPermissions);
    AFCFileRef target = 0;
    if (source < 0 ||
        afc.AFCFileRefOpen(connection, targetPath, kWritingMode, &target) != kAFCSuccess) {
        return false;
    }
    const std::uint64_t size = files.fileSizeAtPath(sourcePath).value_or(0);
    if (size > kLargestCopy) {
        return false;  // the tail below is counted in 32 bits
    }
    // What a host read leaves untouched is sent all the same: it must not be somebody's old memory.
    PropertyData buffer(kCopyChunk);
    const auto sendOnce = [&](std::uint64_t length) {
        files.read(source, buffer.data(), static_cast<std::size_t>(length));
        return afc.AFCFileRefWrite(connection, target, buffer.data(), length) == kAFCSuccess;
    };
    std::uint64_t done = 0;
    for (; done + kCopyChunk < size; done += kCopyChunk) {
        if (!sendOnce(kCopyChunk)) {
            return false;
        }
    }
    if (!sendOnce(size - done)) {
        return false;
    }
    afc.AFCFileRefClose(connection, target);
    files.close(source);
    return true;
}

bool PodPhone::copyFile(const std::string& sourcePath, const std::string& destinationPath) {
    const AFCConnectionRef connection = myConnection_;
    auto& afc = platform_.afc;
    auto& files = platform_.files;
    AFCFileRef source = 0;
    if (afc.AFCFileRefOpen(connection, sourcePath, kReadingMode, &source) != kAFCSuccess) {
        return false;
    }
    prepareTargetPathOnLocalMachine(destinationPath);
    const int target = files.open(destinationPath, kHostReadWrite | kHostCreate, kWritePermissions);
    if (target < 0) {
        return false;
    }
    PropertyData buffer(kCopyChunk);
    std::uint64_t done = 0;
    // The length is not set anew: a short read makes the next ones as short.
    for (std::uint64_t length = kCopyChunk; length != 0; done += length) {
        if (done > kLargestCopy ||
            afc.AFCFileRefRead(connection, source, buffer.data(), &length) != kAFCSuccess) {
            return false;
        }
        length = std::min(length, kCopyChunk);
        files.write(target, buffer.data(), static_cast<std::size_t>(length));
    }
    afc.AFCFileRefClose(connection, source);
    files.close(target);
    return true;
}

bool PodPhone::prepareTargetPathOnLocalMachine(const std::string& path) {
    auto& files = platform_.files;
    const bool isCleared = !files.fileExistsAtPath(path) || files.removeItemAtPath(path);
    const std::string parent = stringByDeletingLastPathComponent(path);
    bool isDirectory = false;
    if (files.fileExistsAtPath(parent, &isDirectory) && isDirectory) {
        return isCleared;
    }
    return files.createDirectoryAtPath(parent, nullptr);
}

std::optional<std::vector<PropertyDictionary>> PodPhone::entries(const std::string& path,
                                                                 bool wantsDirectories) {
    const AFCConnectionRef connection = myConnection_;
    auto& afc = platform_.afc;
    AFCDirectoryRef directory = 0;
    const char* next = nullptr;
    if (afc.AFCDirectoryOpen(connection, path, &directory) != kAFCSuccess ||
        afc.AFCDirectoryRead(connection, directory, &next) != kAFCSuccess) {
        return std::nullopt;
    }
    std::vector<PropertyDictionary> records;
    while (next != nullptr) {
        const std::string name = next;
        if (name != "." && name != ".." && isDirectory(name) == wantsDirectories) {
            PropertyDictionary record{{"name", name}};
            if (!wantsDirectories) {
                record.emplace("size", fileSize(connection, name));
            }
            records.push_back(std::move(record));
        }
        if (afc.AFCDirectoryRead(connection, directory, &next) != kAFCSuccess) {
            break;
        }
    }
    if (afc.AFCDirectoryClose(connection, directory) != kAFCSuccess) {
        return std::nullopt;
    }
    return records;
}

std::optional<std::vector<PropertyDictionary>> PodPhone::getFiles(const std::string& path) {
    return entries(path, false);
}

std::optional<std::vector<PropertyDictionary>> PodPhone::getDirectories(const std::string& path) {
    return entries(path, true);
}

}  // namespace quillbox
