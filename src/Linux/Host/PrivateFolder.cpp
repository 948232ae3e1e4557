// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/PrivateFolder.h"

#include "Linux/Host/TreeRemoval.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace quillbox::host {

std::optional<PrivateFolder> PrivateFolder::make(const std::string& parent, std::string* error) {
    std::string path = parent + "/quillbox-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        *error = "No private folder can be made in " + parent + ": " + std::strerror(errno);
        return std::nullopt;
    }
    return PrivateFolder(std::move(path));
}

PrivateFolder::PrivateFolder(PrivateFolder&& other) noexcept
    : path_(std::exchange(other.path_, {})) {}

PrivateFolder::~PrivateFolder() {
    if (!path_.empty()) {
        removeTree(path_);
    }
}

}  // namespace quillbox::host
