// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace quillbox::control {

/// A private folder for one test, gone with it.
class TestFolder {
public:
    TestFolder() {
        std::string path = std::filesystem::temp_directory_path() / "quillbox-control-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), path);
        }
        path_ = path;
    }

    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    ~TestFolder() {
        std::error_code failure;
        std::filesystem::remove_all(path_, failure);
    }

    const std::string& path() const { return path_; }

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

}  // namespace quillbox::control
