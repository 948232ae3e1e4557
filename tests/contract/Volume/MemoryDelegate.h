// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/UserFileSystem.h"
#include "Core/Platform/VolumeBacking.h"
#include "MemoryDevice.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace quillbox::test {

/// A delegate over a `MemoryDevice` that answers as coarsely as a delegate may: every failed
/// question is ENOENT, every failed transfer EIO, removals and changes say yes too easily.
class MemoryDelegate final : public GMUserFileSystemDelegate {
public:
    explicit MemoryDelegate(std::shared_ptr<MemoryDevice> device) : device_(std::move(device)) {}

    void willMount() override { ++willMounts; }

    void willUnmount() override { ++willUnmounts; }

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

    bool exchangeDataOfItemAtPath(const std::string&, const std::string&, GMErrorOut) override {
        return true;
    }

    std::optional<PropertyData> valueOfExtendedAttribute(const std::string& name,
                                                         const std::string& ofItemAtPath,
                                                         std::int64_t position,
                                                         GMErrorOut error) override;
    bool setExtendedAttribute(const std::string& name, const std::string& ofItemAtPath,
                              const PropertyData& value, std::int64_t position,
                              std::int32_t options, GMErrorOut error) override;
    std::optional<std::vector<std::string>>
    extendedAttributesOfItemAtPath(const std::string& path, GMErrorOut error) override;

    std::optional<PropertyDictionary> finderAttributesAtPath(const std::string&,
                                                             GMErrorOut) override {
        return std::nullopt;
    }

    std::optional<PropertyDictionary> resourceAttributesAtPath(const std::string&,
                                                               GMErrorOut) override {
        return std::nullopt;
    }

    /// The flags of the last open.
    std::int32_t lastMode() const { return lastMode_; }

    std::string lastReleased() const {
        const std::lock_guard lock(mutex_);
        return lastReleased_;
    }

    /// Whether two calls were ever inside at the same time.
    bool wasCalledTwiceAtOnce() const { return overlaps_; }

    /// Calls so far.
    int calls() const { return calls_; }

    std::atomic<int> willMounts = 0;
    std::atomic<int> willUnmounts = 0;
    std::atomic<bool> throws = false;  ///< attribute questions throw

private:
    class Inside;

    bool removeAt(const std::string& path, GMErrorOut error);

    const std::shared_ptr<MemoryDevice> device_;
    std::atomic<int> inside_ = 0;
    std::atomic<int> calls_ = 0;
    std::atomic<bool> overlaps_ = false;
    std::atomic<std::int32_t> lastMode_ = -1;
    mutable std::mutex mutex_;
    std::string lastReleased_;
};

/// The backing that belongs to it.
class MemoryBacking final : public VolumeBacking {
public:
    MemoryBacking(std::shared_ptr<MemoryDevice> device, AFCConnectionRef connection)
        : device_(std::move(device)), connection_(connection) {}

    AFCConnectionRef connection() override { return connection_; }

    void beginCall() override { MemoryDevice::forgetFailure(); }

    AFCError lastFailure() override { return MemoryDevice::lastFailure(); }

    AFCError finishWrites(const GMUserData&) override {
        ++finishes;
        return finishFailure.exchange(0);
    }

    AFCError setFileSize(const std::string& path, const GMUserData& userData,
                         std::uint64_t size) override;
    AFCError setModificationTime(const std::string& path, std::int64_t nanoseconds) override;

    std::atomic<int> finishes = 0;           ///< how often writes were waited for
    std::atomic<AFCError> finishFailure{0};  ///< what the next wait answers

private:
    const std::shared_ptr<MemoryDevice> device_;
    const AFCConnectionRef connection_;
};

}  // namespace quillbox::test
