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

}  // namespace

ProgramBundle::ProgramBundle()
    : program_(runningProgram()),
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

}  // namespace quillbox::host
