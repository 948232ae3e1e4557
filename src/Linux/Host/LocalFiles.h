// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/HostFiles.h"

#include <functional>
#include <optional>
#include <string>
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

    /// `volumesFolder` is absolute, as `chooseVolumesFolder` gives it.
    explicit LocalFiles(std::string volumesFolder);

    /// Set before the core runs.
    void setTombstones(Tombstones tombstones) { tombstones_ = std::move(tombstones); }

    void setClaims(Claims claims) { claims_ = std::move(claims); }

    bool fileExistsAtPath(const std::string& path) override;
    bool createDirectoryAtPath(const std::string& path, std::string* error) override;
    bool removeItemAtPath(const std::string& path) override;

    std::string volumesFolder() override { return volumesFolder_; }

private:
    enum class Place { Elsewhere, VolumesFolder, NameInVolumesFolder, OnVolume };

    Place placeOf(const std::string& path) const;
    bool isListed(const std::string& path) const;
    bool isTaken(const std::string& path) const;

    const std::string volumesFolder_;
    Tombstones tombstones_;
    Claims claims_;
};

/// The folder for volumes: `given` where it is set, made when it is missing; else `standard` where
/// it can be written or can be made; else "Volumes" in `home`. Absolute, links resolved. None, with
/// the reason in `error`, when the folder cannot be made or written.
std::optional<std::string> chooseVolumesFolder(const std::optional<std::string>& given,
                                               const std::string& standard, const std::string& home,
                                               std::string* error);

}  // namespace quillbox::host
