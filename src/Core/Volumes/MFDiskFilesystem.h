// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/UserFileSystem.h"

#include <memory>

namespace quillbox {

class iPodDevice;
class PodPhone;

/// The delegate of one device's volume: every question goes on, unchanged, to the session that the
/// device has at that moment. It neither owns its device nor outlives it.
class MFDiskFilesystem final : public GMUserFileSystemDelegate {
public:
    explicit MFDiskFilesystem(iPodDevice& device) : currentDevice_(device) {}

    static std::unique_ptr<MFDiskFilesystem> initWithIPodDevice(iPodDevice& device) {
        return std::make_unique<MFDiskFilesystem>(device);
    }

    iPodDevice& currentDevice() const { return currentDevice_; }

    void willMount() override;
    /// Marks the device: an unmount of its own volume is under way.
    void willUnmount() override;

    std::optional<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string& path,
                                                                      GMErrorOut error) override;
    std::optional<PropertyDictionary> attributesOfItemAtPath(const std::string& path,
                                                             const GMUserData& userData,
                                                             GMErrorOut error) override;
    std::optional<PropertyDictionary> attributesOfFileSystemForPath(const std::string& path,
                                                                    GMErrorOut error) override;
    bool setAttributes(const PropertyDictionary& attributes, const std::string& ofItemAtPath,
                       const GMUserData& userData, GMErrorOut error) override;

    bool openFileAtPath(const std::string& path, std::int32_t mode, GMUserData* userData,
                        GMErrorOut error) override;
    bool createFileAtPath(const std::string& path, const PropertyDictionary& attributes,
                          GMUserData* userData, GMErrorOut error) override;
    void releaseFileAtPath(const std::string& path, const GMUserData& userData) override;
    std::int32_t readFileAtPath(const std::string& path, const GMUserData& userData, char* buffer,
                                std::uint64_t size, std::int64_t offset, GMErrorOut error) override;
    std::int32_t writeFileAtPath(const std::string& path, const GMUserData& userData,
                                 const char* buffer, std::uint64_t size, std::int64_t offset,
                                 GMErrorOut error) override;

    bool createDirectoryAtPath(const std::string& path, const PropertyDictionary& attributes,
                               GMErrorOut error) override;
    bool moveItemAtPath(const std::string& path, const std::string& toPath,
                        GMErrorOut error) override;
    bool removeDirectoryAtPath(const std::string& path, GMErrorOut error) override;
    bool removeItemAtPath(const std::string& path, GMErrorOut error) override;
    bool linkItemAtPath(const std::string& path, const std::string& toPath,
                        GMErrorOut error) override;
    bool createSymbolicLinkAtPath(const std::string& path, const std::string& withDestinationPath,
                                  GMErrorOut error) override;
    std::optional<std::string> destinationOfSymbolicLinkAtPath(const std::string& path,
                                                               GMErrorOut error) override;
    /// Answers YES and touches neither item.
    bool exchangeDataOfItemAtPath(const std::string& path, const std::string& withItemAtPath,
                                  GMErrorOut error) override;

    std::optional<PropertyData> valueOfExtendedAttribute(const std::string& name,
                                                         const std::string& ofItemAtPath,
                                                         std::int64_t position,
                                                         GMErrorOut error) override;
    bool setExtendedAttribute(const std::string& name, const std::string& ofItemAtPath,
                              const PropertyData& value, std::int64_t position,
                              std::int32_t options, GMErrorOut error) override;
    std::optional<std::vector<std::string>>
    extendedAttributesOfItemAtPath(const std::string& path, GMErrorOut error) override;
    std::optional<PropertyDictionary> finderAttributesAtPath(const std::string& path,
                                                             GMErrorOut error) override;
    std::optional<PropertyDictionary> resourceAttributesAtPath(const std::string& path,
                                                               GMErrorOut error) override;

private:
    std::shared_ptr<PodPhone> session() const;

    iPodDevice& currentDevice_;
};

}  // namespace quillbox
