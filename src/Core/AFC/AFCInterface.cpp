// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/AFC/AFCInterface.h"

#include "Core/AFC/NSException.h"
#include "Core/Platform/LogLine.h"

#include <algorithm>

namespace quillbox {

namespace {

constexpr std::uint64_t kFromTheStart = 0;

bool isOfFormat(const std::optional<AFCAttributes>& attributes, std::string_view format) {
    if (!attributes) {
        return false;
    }
    const auto found = attributes->find("st_ifmt");
    return found != attributes->end() && found->second == format;
}

}  // namespace

bool AFCInterface::removePath(const std::string& path) const {
    return platform_.afc.AFCRemovePath(afc_handle_, path) == kAFCSuccess;
}

bool AFCInterface::renamePath(const std::string& path, const std::string& to) const {
    return platform_.afc.AFCRenamePath(afc_handle_, path, to) == kAFCSuccess;
}

bool AFCInterface::createDirectory(const std::string& path) const {
    return platform_.afc.AFCDirectoryCreate(afc_handle_, path) == kAFCSuccess;
}

std::vector<std::string> AFCInterface::listFilesInPath(const std::string& path) const {
    AFCDirectoryRef directory = 0;
    if (platform_.afc.AFCDirectoryOpen(afc_handle_, path, &directory) != kAFCSuccess) {
        throw NSException("", "");
    }
    std::vector<std::string> names;
    for (;;) {
        const char* name = nullptr;
        platform_.afc.AFCDirectoryRead(afc_handle_, directory, &name);
        if (name == nullptr) {
            break;
        }
        names.emplace_back(name);
    }
    platform_.afc.AFCDirectoryClose(afc_handle_, directory);
    return names;
}

std::optional<AFCAttributes> AFCInterface::getAttributesAtPath(const std::string& path) const {
    AFCKeyValueRef answer = 0;
    if (platform_.afc.AFCFileInfoOpen(afc_handle_, path, &answer) != kAFCSuccess) {
        return std::nullopt;
    }
    auto attributes = createDictionaryForAFCDictionary(answer);
    platform_.afc.AFCKeyValueClose(answer);
    return attributes;
}

std::optional<AFCAttributes> AFCInterface::getDeviceAttributes() const {
    AFCKeyValueRef answer = 0;
    if (platform_.afc.AFCDeviceInfoOpen(afc_handle_, &answer) != kAFCSuccess) {
        return std::nullopt;
    }
    auto attributes = createDictionaryForAFCDictionary(answer);
    platform_.afc.AFCKeyValueClose(answer);
    return attributes;
}

bool AFCInterface::isDirectoryAtPath(const std::string& path) const {
    return isOfFormat(getAttributesAtPath(path), "S_IFDIR");
}

bool AFCInterface::isFileAtPath(const std::string& path) const {
    return isOfFormat(getAttributesAtPath(path), "S_IFREG");
}

AFCFileRef AFCInterface::openFileAtPath(const std::string& path, std::int32_t withMode) const {
    AFCFileRef file = 0;
    const AFCError error = platform_.afc.AFCFileRefOpen(
        afc_handle_, path, static_cast<std::uint64_t>(withMode), &file);
    if (error != kAFCSuccess) {
        logLine(platform_.log, LogLevel::Warning, "AFCFileRefOpen(", withMode,
                "): ", static_cast<std::int32_t>(error));
        return 0;
    }
    return file;
}

bool AFCInterface::closeFile(AFCFileRef file) const {
    return platform_.afc.AFCFileRefClose(afc_handle_, file) == kAFCSuccess;
}

std::optional<AFCData> AFCInterface::readFromFile(AFCFileRef file, std::uint32_t* size,
                                                  std::int64_t offset) const {
    if (platform_.afc.AFCFileRefSeek(afc_handle_, file, offset, kFromTheStart) != kAFCSuccess) {
        return std::nullopt;
    }
    AFCData data(std::max<std::size_t>(*size, 1));  // a request for nothing has a buffer too
    std::uint64_t length = *size;
    const AFCError error = platform_.afc.AFCFileRefRead(afc_handle_, file, data.data(), &length);
    if (error != kAFCSuccess) {
        logLine(platform_.log, LogLevel::Warning, "ret: ", static_cast<std::int32_t>(error));
        return std::nullopt;
    }
    data.resize(static_cast<std::size_t>(std::min<std::uint64_t>(length, *size)));
    *size = static_cast<std::uint32_t>(data.size());
    return data;
}

bool AFCInterface::writeToFile(AFCFileRef file, const std::uint8_t* data, std::uint64_t size,
                               std::int64_t offset) const {
    if (size == 0) {
        return true;
    }
    if (platform_.afc.AFCFileRefSeek(afc_handle_, file, offset, kFromTheStart) != kAFCSuccess) {
        return false;
    }
    return platform_.afc.AFCFileRefWrite(afc_handle_, file, data, size) == kAFCSuccess;
}

bool AFCInterface::setSizeOfFile(const std::string& path, std::int64_t toSize) const {
    AFCFileRef file = 0;
    if (platform_.afc.AFCFileRefOpen(afc_handle_, path, kAFCModeWrite, &file) != kAFCSuccess) {
        return false;
    }
    const bool isSet = platform_.afc.AFCFileRefSetFileSize(
                           afc_handle_, file, static_cast<std::uint64_t>(toSize)) == kAFCSuccess;
    platform_.afc.AFCFileRefClose(afc_handle_, file);
    return isSet;
}

AFCAttributes AFCInterface::createDictionaryForAFCDictionary(AFCKeyValueRef dictionary) const {
    AFCAttributes attributes;
    for (;;) {
        const char* key = nullptr;
        const char* value = nullptr;
        if (platform_.afc.AFCKeyValueRead(dictionary, &key, &value) != kAFCSuccess ||
            key == nullptr || value == nullptr) {
            return attributes;
        }
        attributes.insert_or_assign(key, value);
    }
}

}  // namespace quillbox
