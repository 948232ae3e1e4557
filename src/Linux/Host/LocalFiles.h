// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/HostFiles.h"
#include "Linux/Host/PrivateFolder.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox::host {

/// The computer's files. Paths below the volumes folder are never resolved: a name in that folder
/// is looked up in its listing, anything deeper is on a volume and counts as not there.
class LocalFiles final : public HostFiles {
public:
    /// Paths of volumes that are gone but whose mount the system still lists, since a program holds
    /// them: their names count as free. Any thread.
    using Tombstones = std::function<std::vector<std::string>()>;
    /// Paths of volumes that were asked for: their names are taken, before their folders are there.
    /// Any thread.
    using Claims = std::function<std::vector<std::string>()>;

    /// Reads a property list that may be anything, nested ever so deeply. Any thread.
    using PropertyListReader =
        std::function<std::optional<PropertyDictionary>(std::string_view bytes)>;

    /// `volumesFolder` is absolute, as `chooseVolumesFolder` gives it.
    explicit LocalFiles(std::string volumesFolder);

    /// Set before the core runs.
    void setTombstones(Tombstones tombstones) { tombstones_ = std::move(tombstones); }

    void setClaims(Claims claims) { claims_ = std::move(claims); }

    void setPropertyListReader(PropertyListReader reader) { propertyLists_ = std::move(reader); }

    bool fileExistsAtPath(const std::string& path) override;
    bool fileExistsAtPath(const std::string& path, bool* isDirectory) override;
    std::optional<std::uint64_t> fileSizeAtPath(const std::string& path) override;
    bool createDirectoryAtPath(const std::string& path, std::string* error) override;
    bool removeItemAtPath(const std::string& path) override;

    int open(const std::string& path, std::uint32_t flags, std::uint32_t permissions) override;
    std::int64_t read(int descriptor, void* buffer, std::size_t length) override;
    std::int64_t write(int descriptor, const void* buffer, std::size_t length) override;
    void close(int descriptor) override;
    bool writeDataAtomically(const std::string& path, const PropertyData& data) override;
    std::optional<PropertyDictionary>
    dictionaryWithContentsOfFile(const std::string& path) override;
    std::string temporaryDirectory() override;

    std::string volumesFolder() override { return volumesFolder_; }

private:
    enum class Place { Elsewhere, VolumesFolder, NameInVolumesFolder, OnVolume };

    Place placeOf(const std::string& path) const;
    /// Also for a path that names nothing.
    bool isOnVolume(const std::string& path) const;
    bool isListed(const std::string& path) const;
    bool isTaken(const std::string& path) const;

    const std::string volumesFolder_;
    Tombstones tombstones_;
    Claims claims_;
    PropertyListReader propertyLists_;
    std::mutex temporaryMutex_;
    std::optional<PrivateFolder> temporary_;
};

/// The folder for volumes: `given` where it is set, made when it is missing; else `standard` where
/// it can be written or can be made; else "Volumes" in `home`. Absolute, links resolved. None, with
/// the reason in `error`, when the folder cannot be made or written.
std::optional<std::string> chooseVolumesFolder(const std::optional<std::string>& given,
                                               const std::string& standard, const std::string& home,
                                               std::string* error);

}  // namespace quillbox::host
