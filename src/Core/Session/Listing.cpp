// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"
#include "Core/Session/CallbackLog.h"
#include "Core/Session/KeyValues.h"
#include "Core/Session/NSError+POSIX.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/CachedFlags.h"

#include <cerrno>

namespace quillbox {

std::string PodPhone::devicePathForVolumePath(const std::string& path) const {
    if (mappedRootTag_ >= kRootTagApplication && appMountPathIndex_ == 1) {
        return stringByAppendingPathComponent("/Documents", path);
    }
    return path;
}

std::optional<std::vector<std::string>> PodPhone::contentsOfDirectoryAtPath(const std::string& path,
                                                                            GMErrorOut error) {
    const AFCConnectionRef connection = myConnection_;
    setCurrentDirectory(path);
    const std::string devicePath = devicePathForVolumePath(path);
    // The format is "%@% @": its blank is a flag and leaves no trace in the text.
    logCallback("contentsOfDirectoryAtPath:error:", devicePath);
    if (!fileExists(connection, devicePath)) {
        NSErrorPOSIX::set(error, ENOENT);
        return std::nullopt;
    }
    auto& afc = platform_.afc;
    AFCDirectoryRef directory = 0;
    if (afc.AFCDirectoryOpen(connection, devicePath, &directory) != kAFCSuccess) {
        NSErrorPOSIX::set(error, ENOENT);
        return std::nullopt;
    }
    std::vector<std::string> contents;
    const char* name = nullptr;
    if (afc.AFCDirectoryRead(connection, directory, &name) != kAFCSuccess) {
        NSErrorPOSIX::set(error, ENOENT);
        return std::nullopt;  // the listing ends with its connection, here and below
    }
    while (name != nullptr) {
        contents.emplace_back(name);
        if (afc.AFCDirectoryRead(connection, directory, &name) != kAFCSuccess) {
            logCallback("Error: AFCDirectoryRead");
            NSErrorPOSIX::set(error, ENOENT);
            return std::nullopt;
        }
    }
    if (afc.AFCDirectoryClose(connection, directory) != kAFCSuccess) {
        logCallback("Error: AFCDirectoryClose");
        NSErrorPOSIX::set(error, ENOENT);
        return std::nullopt;
    }
    logCallback("contents = ", contents);
    return contents;
}

std::optional<FileInfo> PodPhone::fileInfo(AFCConnectionRef connection, const std::string& path) {
    auto& afc = platform_.afc;
    AFCKeyValueRef answer = 0;
    if (afc.AFCFileInfoOpen(connection, stringByAppendingPathComponent("/", path), &answer) !=
        kAFCSuccess) {
        return std::nullopt;
    }
    return readKeyValues(afc, answer);
}

bool PodPhone::fileExists(AFCConnectionRef connection, const std::string& path) {
    AFCKeyValueRef answer = 0;
    if (platform_.afc.AFCFileInfoOpen(connection, path, &answer) != kAFCSuccess) {
        return false;
    }
    platform_.afc.AFCKeyValueClose(answer);
    return true;
}

std::optional<FileInfo> PodPhone::GetFileInfo(const std::string& path) {
    return fileInfo(myConnection_, path);
}

bool PodPhone::fileExistsOnDevice(const std::string& path) {
    return fileExists(myConnection_, path);
}

bool PodPhone::directoryExistsOnDevice(const std::string& path) {
    const AFCConnectionRef connection = myConnection_;
    AFCDirectoryRef directory = 0;
    if (platform_.afc.AFCDirectoryOpen(connection, path, &directory) != kAFCSuccess) {
        return false;
    }
    platform_.afc.AFCDirectoryClose(connection, directory);
    return true;
}

bool PodPhone::existsOnDevice(const std::string& path, bool* isDirectory) {
    *isDirectory = directoryExistsOnDevice(path);
    return *isDirectory || fileExistsOnDevice(path);
}

}  // namespace quillbox
