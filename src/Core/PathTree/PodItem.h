// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillbox {

/// One item of a tree that lies elsewhere, on a device for example, as a node of a path tree asks
/// for it.
class PodItem {
public:
    virtual ~PodItem() = default;

    /// From the top, beginning with a slash.
    virtual std::string fullPath() = 0;
    /// Its path below the item that it is a child of: its name.
    virtual std::string relativePath() = 0;
    virtual bool isDirectory() = 0;
    /// Bytes.
    virtual std::int64_t getFileSize() = 0;
    virtual std::optional<PropertyDate> nodeObjModDate() = 0;
    /// Reads the children anew.
    virtual void refreshChildren() = 0;
    /// As they were read last.
    virtual std::vector<std::shared_ptr<PodItem>> children() = 0;
};

}  // namespace quillbox
