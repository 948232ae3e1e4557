// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/ProgramBundle.h"

#include "Linux/Host/AtomicFile.h"

#include <sys/stat.h>
#include <sys/utsname.h>

#include <filesystem>
#include <sstream>
#include <string_view>

namespace quillbox::host {

namespace {

std::string runningProgram() {
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/exe", error).string();
    // The kernel marks a program whose file was replaced while it runs.
    constexpr std::string_view kReplaced = " (deleted)";
    if (path.ends_with(kReplaced)) {
        path.resize(path.size() - kReplaced.size());
    }
    return path;
}

/// A value of os-release: shell quoting undone.
std::string unquoted(std::string_view value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        value = value.substr(1, value.size() - 2);
    }
    std::string plain;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size()) {
            ++i;
        }
        plain += value[i];
    }
    return plain;
}

/// A path as it stands in an address.
std::string percentEncoded(const std::string& path) {
    constexpr std::string_view kPlain = "/-._~";
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isWord =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (isWord || kPlain.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            encoded.append({'%', kDigits[byte >> 4U], kDigits[byte & 0xFU]});
        }
    }
    return encoded;
}

}  // namespace

ProgramBundle::ProgramBundle(Information information)
    : information_(std::move(information)),
      program_(runningProgram()),
      resourceFolders_{std::filesystem::path(program_).parent_path().parent_path() /
                           "share/quillbox",
                       QUILLBOX_INSTALLED_RESOURCES},
      releaseFiles_{"/etc/os-release", "/usr/lib/os-release"} {}

ProgramBundle::ProgramBundle(std::string program, std::vector<std::string> resourceFolders,
                             std::vector<std::string> releaseFiles)
    : program_(std::move(program)),
      resourceFolders_(std::move(resourceFolders)),
      releaseFiles_(std::move(releaseFiles)) {}

std::optional<std::string> ProgramBundle::pathForResource(const std::string& name,
                                                          const std::string& type) const {
    const std::string file = type.empty() ? name : name + "." + type;
    for (const auto& folder : resourceFolders_) {
        const std::string path = std::string(folder).append("/").append(file);
        struct stat status = {};
        if (::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            return path;
        }
    }
    return std::nullopt;
}

std::optional<std::string> ProgramBundle::objectForInfoDictionaryKey(std::string_view key) const {
    const auto found = information_.find(key);
    return found == information_.end() ? std::nullopt : std::optional(found->second);
}

std::string ProgramBundle::operatingSystemVersionString() const {
    for (const auto& file : releaseFiles_) {
        int error = 0;
        std::istringstream lines(readWholeFile(file, 1U << 20U, &error).value_or(""));
        for (std::string line; std::getline(lines, line);) {
            constexpr std::string_view kKey = "PRETTY_NAME=";
            if (line.starts_with(kKey)) {
                return unquoted(std::string_view(line).substr(kKey.size()));
            }
        }
    }
    utsname system = {};
    return ::uname(&system) == 0 ? std::string(system.sysname) + " " + system.release : "Linux";
}

std::string ProgramBundle::siblingProgram(const std::string& name) const {
    return std::filesystem::path(program_).parent_path() / name;
}

std::string ProgramBundle::documentAddress(const std::string& name) const {
    const auto path =
        std::filesystem::path(program_).parent_path().parent_path() / "share/doc/quillbox" / name;
    return "file://" + percentEncoded(path.string());
}

}  // namespace quillbox::host
