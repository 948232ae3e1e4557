// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Volumes/MFDiskFilesystem.h"

#include "Core/Session/PodPhone.h"
#include "Core/Volumes/iPodDevice.h"

namespace quillbox {

// One that was never opened answers every question as a lost connection does.
std::shared_ptr<PodPhone> MFDiskFilesystem::session() const {
    auto session = currentDevice_.iPhoneInterface();
    return session ? session : std::make_shared<PodPhone>(currentDevice_.platform());
}

void MFDiskFilesystem::willMount() {}

void MFDiskFilesystem::willUnmount() {
    currentDevice_.setWillUnmount(true);
}

std::optional<std::vector<std::string>>
MFDiskFilesystem::contentsOfDirectoryAtPath(const std::string& path, GMErrorOut error) {
    return session()->contentsOfDirectoryAtPath(path, error);
}

std::optional<PropertyDictionary>
MFDiskFilesystem::attributesOfItemAtPath(const std::string& path, const GMUserData& userData,
                                         GMErrorOut error) {
    return session()->attributesOfItemAtPath(path, userData, error);
}

std::optional<PropertyDictionary>
MFDiskFilesystem::attributesOfFileSystemForPath(const std::string& path, GMErrorOut error) {
    return session()->attributesOfFileSystemForPath(path, error);
}

bool MFDiskFilesystem::setAttributes(const PropertyDictionary& attributes,
                                     const std::string& ofItemAtPath, const GMUserData& userData,
                                     GMErrorOut error) {
    return session()->setAttributes(attributes, ofItemAtPath, userData, error);
}

bool MFDiskFilesystem::openFileAtPath(const std::string& path, std::int32_t mode,
                                      GMUserData* userData, GMErrorOut error) {
    return session()->openFileAtPath(path, mode, userData, error);
}

bool MFDiskFilesystem::createFileAtPath(const std::string& path,
                                        const PropertyDictionary& attributes, GMUserData* userData,
                                        GMErrorOut error) {
    return session()->createFileAtPath(path, attributes, userData, error);
}

void MFDiskFilesystem::releaseFileAtPath(const std::string& path, const GMUserData& userData) {
    session()->releaseFileAtPath(path, userData);
}

std::int32_t MFDiskFilesystem::readFileAtPath(const std::string& path, const GMUserData& userData,
                                              char* buffer, std::uint64_t size, std::int64_t offset,
                                              GMErrorOut error) {
    return session()->readFileAtPath(path, userData, buffer, size, offset, error);
}

std::int32_t MFDiskFilesystem::writeFileAtPath(const std::string& path, const GMUserData& userData,
                                               const char* buffer, std::uint64_t size,
                                               std::int64_t offset, GMErrorOut error) {
    return session()->writeFileAtPath(path, userData, buffer, size, offset, error);
}

bool MFDiskFilesystem::createDirectoryAtPath(const std::string& path,
                                             const PropertyDictionary& attributes,
                                             GMErrorOut error) {
    return session()->createDirectoryAtPath(path, attributes, error);
}

bool MFDiskFilesystem::moveItemAtPath(const std::string& path, const std::string& toPath,
                                      GMErrorOut error) {
    return session()->moveItemAtPath(path, toPath, error);
}

bool MFDiskFilesystem::removeDirectoryAtPath(const std::string& path, GMErrorOut error) {
    return session()->removeDirectoryAtPath(path, error);
}

bool MFDiskFilesystem::removeItemAtPath(const std::string& path, GMErrorOut error) {
    return session()->removeItemAtPath(path, error);
}

bool MFDiskFilesystem::linkItemAtPath(const std::string& path, const std::string& toPath,
                                      GMErrorOut error) {
    return session()->linkItemAtPath(path, toPath, error);
}

bool MFDiskFilesystem::createSymbolicLinkAtPath(const std::string& path,
                                                const std::string& withDestinationPath,
                                                GMErrorOut error) {
    return session()->createSymbolicLinkAtPath(path, withDestinationPath, error);
}

std::optional<std::string>
MFDiskFilesystem::destinationOfSymbolicLinkAtPath(const std::string& path, GMErrorOut error) {
    return session()->destinationOfSymbolicLinkAtPath(path, error);
}

bool MFDiskFilesystem::exchangeDataOfItemAtPath(const std::string& /*path*/,
                                                const std::string& /*withItemAtPath*/,
                                                GMErrorOut /*error*/) {
    return true;
}

std::optional<PropertyData>
MFDiskFilesystem::valueOfExtendedAttribute(const std::string& name, const std::string& ofItemAtPath,
                                           std::int64_t position, GMErrorOut error) {
    return session()->valueOfExtendedAttribute(name, ofItemAtPath, position, error);
}

bool MFDiskFilesystem::setExtendedAttribute(const std::string& name,
                                            const std::string& ofItemAtPath,
                                            const PropertyData& value, std::int64_t position,
                                            std::int32_t options, GMErrorOut error) {
    return session()->setExtendedAttribute(name, ofItemAtPath, value, position, options, error);
}

std::optional<std::vector<std::string>>
MFDiskFilesystem::extendedAttributesOfItemAtPath(const std::string& path, GMErrorOut error) {
    return session()->extendedAttributesOfItemAtPath(path, error);
}

std::optional<PropertyDictionary> MFDiskFilesystem::finderAttributesAtPath(const std::string& path,
                                                                           GMErrorOut error) {
    return session()->finderAttributesAtPath(path, error);
}

std::optional<PropertyDictionary>
MFDiskFilesystem::resourceAttributesAtPath(const std::string& path, GMErrorOut error) {
    return session()->resourceAttributesAtPath(path, error);
}

}  // namespace quillbox
