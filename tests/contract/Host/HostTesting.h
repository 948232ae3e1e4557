// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace quillbox::host {

/// A folder for one test, gone with it.
class TestFolder {
public:
    TestFolder() {
        std::string path = std::filesystem::temp_directory_path() / "quillbox-host-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) {
            std::abort();
        }
        path_ = std::filesystem::canonical(path);
    }

    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

inline void writeText(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string readText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Remembers entries. Any thread.
class RememberingLog final : public Log {
public:
    bool isEnabled(LogLevel) const override { return true; }

    void write(LogLevel level, std::string_view text) override {
        const std::lock_guard guard(mutex_);
        entries_.emplace_back(level, text);
    }

    std::vector<std::pair<LogLevel, std::string>> entries() const {
        const std::lock_guard guard(mutex_);
        return entries_;
    }

    std::size_t count(LogLevel level) const {
        std::size_t number = 0;
        for (const auto& each : entries()) {
            number += each.first == level ? 1 : 0;
        }
        return number;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::pair<LogLevel, std::string>> entries_;
};

/// Sets an environment variable for one test.
class TestVariable {
public:
    TestVariable(std::string name, const std::string& value) : name_(std::move(name)) {
        if (const char* former = std::getenv(name_.c_str())) {
            former_ = former;
            wasSet_ = true;
        }
        ::setenv(name_.c_str(), value.c_str(), 1);
    }

    ~TestVariable() {
        if (wasSet_) {
            ::setenv(name_.c_str(), former_.c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

    TestVariable(const TestVariable&) = delete;
    TestVariable& operator=(const TestVariable&) = delete;

private:
    std::string name_;
    std::string former_;
    bool wasSet_ = false;
};

}  // namespace quillbox::host
