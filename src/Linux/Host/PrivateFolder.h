// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace quillbox::host {

/// A temporary folder of our own, mode 0700, removed with what it holds at the end (links not
/// followed, mounts not crossed).
class PrivateFolder {
public:
    /// A new folder in `parent`; none, with the reason in `error`, when it cannot be made.
    static std::optional<PrivateFolder> make(const std::string& parent, std::string* error);

    PrivateFolder(PrivateFolder&& other) noexcept;
    PrivateFolder& operator=(PrivateFolder&&) = delete;
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder();

    const std::string& path() const { return path_; }

private:
    explicit PrivateFolder(std::string path) : path_(std::move(path)) {}

    std::string path_;
};

}  // namespace quillbox::host
