// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Session/CallbackLog.h"
#include "Core/Session/NSError+POSIX.h"
#include "Core/Session/PictureNames.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/CameraRollSwitch.h"

#include <algorithm>
#include <cerrno>

namespace quillbox {

namespace {

/// Keys of the record that an open file carries from callback to callback.
constexpr const char* kFileRef = "fileRef";
constexpr const char* kMode = "mode";
constexpr const char* kIsCreate = "isCreateFileAtPath";
constexpr const char* kIsWrite = "isWriteFileAtPath";

constexpr std::int32_t kModeRead = 1;
constexpr std::int32_t kModeReadWrite = 2;
constexpr std::uint64_t kFromStart = 0;
constexpr std::int32_t kFailed = -2;

void put(const GMUserData& record, const char* key, PropertyValue value) {
    record->insert_or_assign(key, std::move(value));
}

bool isSet(const GMUserData& record, const char* key) {
    const auto* value = find(*record, key);
    return value != nullptr && value->boolValue();
}

AFCFileRef fileOf(const GMUserData& record) {
    const auto* value = find(*record, kFileRef);
    return value != nullptr ? value->unsignedValue() : 0;
}

/// Adds 1 as 32-bit arithmetic does, also to the largest number.
std::int32_t nextOf(std::int32_t flags) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(flags) + 1U);
}

}  // namespace

bool PodPhone::openFileAtPath(const std::string& path, std::int32_t flags, GMUserData* userData,
                              GMErrorOut error) {
    constexpr std::string_view kSelector = "openFileAtPath:mode:userData:error:";
    const AFCConnectionRef connection = myConnection_;
    std::int32_t mode = nextOf(flags);
    const std::string devicePath = devicePathForVolumePath(path);
    logCallback(kSelector, " ", devicePath, " mode=", mode, " (1_RDONLY, 2_WRONLY, 3_RDWR)");
    auto record = std::make_shared<PropertyDictionary>();
    mode = std::min(mode, kModeReadWrite);
    if (mode == kModeReadWrite || mode == kModeRead) {
        put(record, kIsCreate, mode == kModeReadWrite);
    }
    if (!fileExists(connection, devicePath)) {
        logCallback("Error: ", kSelector, " ", devicePath);
        NSErrorPOSIX::set(error, ENOENT);
        return false;
    }
    AFCFileRef file = 0;
    if (platform_.afc.AFCFileRefOpen(connection, devicePath,
                                     static_cast<std::uint64_t>(std::int64_t{mode}),
                                     &file) != kAFCSuccess) {
        logCallback("Error: AFCFileRefOpen() ");
        NSErrorPOSIX::set(error, ENOENT);
        return false;
    }
    put(record, kMode, mode);
    put(record, kFileRef, file);
    put(record, kIsWrite, false);
    *userData = std::move(record);
    return true;
}

bool PodPhone::createFileAtPath(const std::string& path, const PropertyDictionary& attributes,
                                GMUserData* userData, GMErrorOut error) {
    const AFCConnectionRef connection = myConnection_;
    const std::string devicePath = devicePathForVolumePath(path);
    logCallback("createFileAtPath:attributes:userData:error: ", devicePath,
                " mode=", kModeReadWrite, " attributes=", attributes);
    AFCFileRef file = 0;
    if (platform_.afc.AFCFileRefOpen(connection, devicePath, kModeReadWrite, &file) !=
        kAFCSuccess) {
        logCallback("Error: AFCFileRefOpen() ");
        NSErrorPOSIX::set(error, EIO);
        return false;
    }
    auto record = std::make_shared<PropertyDictionary>();
    put(record, kMode, kModeReadWrite);
    put(record, kFileRef, file);
    put(record, kIsCreate, isCameraRollPicture(devicePath));
    put(record, kIsWrite, false);
    *userData = std::move(record);
    logCallback("OK... ");
    return true;
}

std::int32_t PodPhone::readFileAtPath(const std::string& path, const GMUserData& userData,
                                      char* buffer, std::uint64_t size, std::int64_t offset,
                                      GMErrorOut error) {
    const AFCConnectionRef connection = myConnection_;
    const std::string devicePath = devicePathForVolumePath(path);
    logCallback("readFileAtPath:userData:buffer:size:offset:error:",
                static_cast<std::int32_t>(size), " path:", devicePath);
    if (!userData) {
        NSErrorPOSIX::set(error, EINVAL);
        return kFailed;
    }
    logCallback("userData:", userData);
    const AFCFileRef file = fileOf(userData);
    if (platform_.afc.AFCFileRefSeek(connection, file, offset, kFromStart) != kAFCSuccess) {
        logCallback("Error: AFCFileRefSeek() ", static_cast<std::int32_t>(offset));
        NSErrorPOSIX::set(error, EIO);
        return kFailed;
    }
    std::uint64_t length = size;
    if (platform_.afc.AFCFileRefRead(connection, file, buffer, &length) != kAFCSuccess) {
        logCallback("Error: AFCFileRefRead() ");
        NSErrorPOSIX::set(error, EIO);
        return kFailed;
    }
    return static_cast<std::int32_t>(length);
}

std::int32_t PodPhone::writeFileAtPath(const std::string& path, const GMUserData& userData,
                                       const char* buffer, std::uint64_t size, std::int64_t offset,
                                       GMErrorOut error) {
    const AFCConnectionRef connection = myConnection_;
    const std::string devicePath = devicePathForVolumePath(path);
    logCallback("writeFileAtPath:userData:buffer:size:offset:error::",
                static_cast<std::int32_t>(size), " path:", devicePath, " ");
    if (size == 0) {
        return 0;
    }
    if (!userData) {
        logCallback("Error: !userData");
        NSErrorPOSIX::set(error, EINVAL);
        return kFailed;
    }
    put(userData, kIsWrite, false);
    const AFCFileRef file = fileOf(userData);
    if (platform_.afc.AFCFileRefSeek(connection, file, offset, kFromStart) != kAFCSuccess) {
        logCallback("Error: AFCFileRefSeek() ");
        NSErrorPOSIX::set(error, EIO);
        return kFailed;
    }
    if (platform_.afc.AFCFileRefWrite(connection, file, buffer, size) != kAFCSuccess) {
        logCallback("Error: AFCFileRefWrite() ");
        NSErrorPOSIX::set(error, EIO);
        return kFailed;
    }
    if (isSet(userData, kIsCreate)) {
        put(userData, kIsWrite, true);
    }
    return static_cast<std::int32_t>(size);
}

void PodPhone::releaseFileAtPath(const std::string& path, const GMUserData& userData) {
    const AFCConnectionRef connection = myConnection_;
    const std::string devicePath = devicePathForVolumePath(path);
    logCallback("releaseFileAtPath:userData:", devicePath);
    if (!userData) {
        return;
    }
    platform_.afc.AFCFileRefClose(connection, fileOf(userData));
    if (isChangeNameOnCopyImages2DCIM(platform_.preferences)) {
        if (isCameraRollPicture(devicePath) && consumeCameraRollMark(devicePath) &&
            createThumbnailForDCIM(devicePath)) {
            return;
        }
        if (isSet(userData, kIsCreate) && isSet(userData, kIsWrite)) {
            const std::lock_guard guard(stateMutex_);
            isChangeNameDictionary_.insert_or_assign(devicePath, true);
        }
    }
    logCallback("released file\n ");
}

bool PodPhone::setAttributes(const PropertyDictionary& attributes, const std::string& ofItemAtPath,
                             const GMUserData& /*userData*/, GMErrorOut error) {
    constexpr std::string_view kSelector = "setAttributes:ofItemAtPath:userData:error:";
    const AFCConnectionRef connection = myConnection_;
    const std::string devicePath = devicePathForVolumePath(ofItemAtPath);
    logCallback(kSelector, " ", devicePath, " attributes=", attributes);
    NSErrorPOSIX::set(error, EPERM);
    if (!fileExists(connection, devicePath)) {
        logCallback("Error: ", kSelector, " ", devicePath);
        return false;
    }
    return true;
}

bool PodPhone::isAwaitingCameraRoll(const std::string& path) const {
    const std::lock_guard guard(stateMutex_);
    return isChangeNameDictionary_.contains(path);
}

bool PodPhone::consumeCameraRollMark(const std::string& path) {
    const std::lock_guard guard(stateMutex_);
    return isChangeNameDictionary_.erase(path) > 0;
}

}  // namespace quillbox
