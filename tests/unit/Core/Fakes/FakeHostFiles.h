// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CallRecord.h"
#include "Core/Platform/HostFiles.h"
#include "Core/Platform/PathText.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>

namespace quillbox::fakes {

/// Files in memory. What a test puts into `paths` is there, a folder unless it has `contents`.
/// Scripted failures by the name of the call. One thread.
class FakeHostFiles final : public HostFiles {
public:
    explicit FakeHostFiles(CallRecord& record) : record_(record) {}

    bool fileExistsAtPath(const std::string& path) override {
        return paths.contains(path) || contents.contains(path);
    }

    bool fileExistsAtPath(const std::string& path, bool* isDirectory) override {
        *isDirectory = paths.contains(path) && !contents.contains(path);
        return fileExistsAtPath(path);
    }

    std::optional<std::uint64_t> fileSizeAtPath(const std::string& path) override {
        const auto found = contents.find(path);
        return found == contents.end() ? std::nullopt
                                       : std::optional(claimedSize.value_or(found->second.size()));
    }

    bool createDirectoryAtPath(const std::string& path, std::string* error) override {
        record_.add("createDirectoryAtPath " + path);
        if (!failure.empty()) {
            if (error != nullptr) {
                *error = failure;
            }
            return false;
        }
        return paths.insert(path).second;
    }

    bool removeItemAtPath(const std::string& path) override {
        record_.add("removeItemAtPath " + path);
        if (record_.statusOf("removeItemAtPath") != 0) {
            return false;
        }
        const bool hadContent = contents.erase(path) > 0;
        return paths.erase(path) > 0 || hadContent;
    }

    int open(const std::string& path, std::uint32_t flags, std::uint32_t permissions) override {
        record_.add("open " + path + " " + std::to_string(flags) + " " +
                    std::to_string(permissions));
        if (record_.statusOf("open") != 0 ||
            ((flags & kHostCreate) == 0 && !contents.contains(path))) {
            return -1;
        }
        contents.try_emplace(path);
        open_.insert_or_assign(++last_, OpenFile{path, 0});
        return last_;
    }

    std::int64_t read(int descriptor, void* buffer, std::size_t length) override {
        record_.add("read " + std::to_string(length));
        if (record_.statusOf("read") != 0) {
            return -1;
        }
        auto& file = open_.at(descriptor);
        const auto& content = contents.at(file.path);
        const std::size_t count = std::min(length, content.size() - file.position);
        std::copy_n(content.data() + file.position, count, static_cast<char*>(buffer));
        file.position += count;
        return static_cast<std::int64_t>(count);
    }

    std::int64_t write(int descriptor, const void* buffer, std::size_t length) override {
        record_.add("write " + std::to_string(length));
        if (record_.statusOf("write") != 0) {
            return -1;
        }
        auto& file = open_.at(descriptor);
        contents.at(file.path).append(static_cast<const char*>(buffer), length);
        return static_cast<std::int64_t>(length);
    }

    void close(int descriptor) override {
        record_.add("close");
        if (open_.erase(descriptor) == 0) {
            violations.push_back("closed " + std::to_string(descriptor) + ", which is not open");
        }
    }

    bool writeDataAtomically(const std::string& path, const PropertyData& data) override {
        record_.add("writeDataAtomically " + path);
        if (record_.statusOf("writeDataAtomically") != 0) {
            return false;
        }
        contents.insert_or_assign(path, std::string(data.begin(), data.end()));
        return true;
    }

    std::optional<PropertyDictionary>
    dictionaryWithContentsOfFile(const std::string& path) override {
        record_.add("dictionaryWithContentsOfFile " + path);
        const auto content = contents.find(path);
        const auto found =
            content != contents.end() ? dictionaries.find(content->second) : dictionaries.end();
        return found != dictionaries.end() ? std::optional(found->second) : std::nullopt;
    }

    std::string temporaryDirectory() override { return temporary; }

    std::string volumesFolder() override { return "/Volumes"; }

    std::size_t openFiles() const { return open_.size(); }

    std::set<std::string> paths;
    std::map<std::string, std::string> contents;
    /// What property lists hold, by the bytes of their files; any other content is damaged.
    std::map<std::string, PropertyDictionary> dictionaries;
    std::optional<std::uint64_t> claimedSize;  ///< told instead of the size of every file
    std::string temporary = "/private";
    std::string failure;  ///< why folders cannot be made; empty: they can
    std::vector<std::string> violations;

private:
    struct OpenFile {
        std::string path;
        std::size_t position;
    };

    CallRecord& record_;
    int last_ = 2;
    std::map<int, OpenFile> open_;
};

}  // namespace quillbox::fakes
