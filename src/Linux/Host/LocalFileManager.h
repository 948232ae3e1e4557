// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/FileManager.h"

namespace quillbox::host {

/// The computer's disks, as the system tells about them.
class LocalFileManager final : public FileManager {
public:
    std::optional<PropertyDictionary> attributesOfItemAtPath(const std::string& path,
                                                             GMErrorOut error) override;
    std::optional<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string& path,
                                                                      GMErrorOut error) override;
    std::optional<PropertyDictionary> attributesOfFileSystemForPath(const std::string& path,
                                                                    GMErrorOut error) override;
};

}  // namespace quillbox::host
