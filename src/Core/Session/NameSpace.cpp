// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"
#include "Core/Session/CallbackLog.h"
#include "Core/Session/NSError+POSIX.h"
#include "Core/Session/PodPhone.h"

#include <cerrno>

namespace quillbox {

bool PodPhone::moveItemAtPath(const std::string& path, const std::string& toPath,
                              GMErrorOut /*error*/) {
    const AFCConnectionRef connection = myConnection_;
    const std::string source = devicePathForVolumePath(path);
    const std::string destination = devicePathForVolumePath(toPath);
    logCallback("moveItemAtPath:toPath:error: ", source, " destination=", destination);
    return platform_.afc.AFCRenamePath(connection, source, destination) == kAFCSuccess;
}

bool PodPhone::createDirectoryAtPath(const std::string& path,
                                     const PropertyDictionary& /*attributes*/,
                                     GMErrorOut /*error*/) {
    const AFCConnectionRef connection = myConnection_;
    const std::string devicePath = devicePathForVolumePath(path);
    logCallback("createDirectoryAtPath:attributes:error::", devicePath);
    return platform_.afc.AFCDirectoryCreate(connection, devicePath) == kAFCSuccess;
}

bool PodPhone::removeItem(std::string_view selector, const std::string& path, GMErrorOut error) {
    const AFCConnectionRef connection = myConnection_;
    logCallback(selector, path);
    const std::string devicePath = devicePathForVolumePath(path);
    if (!fileExists(connection, devicePath)) {
        logCallback("Error: ", selector, " ", devicePath);
        return true;
    }
    if (platform_.afc.AFCRemovePath(connection, devicePath) != kAFCSuccess) {
        NSErrorPOSIX::set(error, ENOTSUP);
        return false;
    }
    return true;
}

bool PodPhone::removeDirectoryAtPath(const std::string& path, GMErrorOut error) {
    return removeItem("removeDirectoryAtPath:error:", path, error);
}

bool PodPhone::removeItemAtPath(const std::string& path, GMErrorOut error) {
    return removeItem("removeItemAtPath:error:", path, error);
}

bool PodPhone::makeLink(AFCLinkType type, const std::optional<std::string>& first,
                        const std::optional<std::string>& second, GMErrorOut error) {
    NSErrorPOSIX::set(error, ENOTSUP);
    return first && second &&
           platform_.afc.AFCLinkPath(myConnection_, type, *first, *second) == kAFCSuccess;
}

bool PodPhone::linkItemAtPath(const std::optional<std::string>& path,
                              const std::optional<std::string>& toPath, GMErrorOut error) {
    logCallback("linkItemAtPath:toPath:error:", path, "\n", toPath);
    return makeLink(kAFCHardLink, path, toPath, error);
}

bool PodPhone::createSymbolicLinkAtPath(const std::optional<std::string>& path,
                                        const std::optional<std::string>& withDestinationPath,
                                        GMErrorOut error) {
    return makeLink(kAFCSymbolicLink, path, withDestinationPath, error);
}

std::optional<std::string> PodPhone::destinationOfSymbolicLinkAtPath(const std::string& path,
                                                                     GMErrorOut /*error*/) {
    const auto info = GetFileInfo(path);
    if (!info) {
        return std::nullopt;
    }
    const auto found = info->find("LinkTarget");
    return found == info->end() ? std::nullopt : std::optional(found->second);
}

std::optional<PropertyData> PodPhone::valueOfExtendedAttribute(const std::string& /*name*/,
                                                               const std::string& /*ofItemAtPath*/,
                                                               std::int64_t /*position*/,
                                                               GMErrorOut error) {
    NSErrorPOSIX::set(error, ENOTSUP);
    return std::nullopt;
}

bool PodPhone::setExtendedAttribute(const std::string& /*name*/,
                                    const std::string& /*ofItemAtPath*/,
                                    const PropertyData& /*value*/, std::int64_t position,
                                    std::int32_t /*options*/, GMErrorOut error) {
    if (position != 0) {
        NSErrorPOSIX::set(error, ENOTSUP);
        return false;
    }
    return true;
}

std::optional<std::vector<std::string>>
PodPhone::extendedAttributesOfItemAtPath(const std::string& /*path*/, GMErrorOut error) {
    NSErrorPOSIX::set(error, ENOTSUP);
    return std::nullopt;
}

std::optional<PropertyDictionary> PodPhone::finderAttributesAtPath(const std::string& /*path*/,
                                                                   GMErrorOut /*error*/) {
    return std::nullopt;
}

std::optional<PropertyDictionary> PodPhone::resourceAttributesAtPath(const std::string& path,
                                                                     GMErrorOut error) {
    return finderAttributesAtPath(path, error);
}

bool PodPhone::renameFolder(const std::string& path, const std::string& newFolderName) {
    const std::string newPath =
        stringByAppendingPathComponent(stringByDeletingLastPathComponent(path), newFolderName);
    return platform_.afc.AFCRenamePath(myConnection_, path, newPath) == kAFCSuccess;
}

bool PodPhone::removePath(const std::string& path) {
    return platform_.afc.AFCRemovePath(myConnection_, path) == kAFCSuccess;
}

}  // namespace quillbox
