// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/UserFolders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <sstream>

namespace quillbox::host {

namespace {

std::string withoutSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string absoluteVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? withoutSlashes(value) : std::string();
}

bool isPrivateFolder(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & 0077) == 0;
}

}  // namespace

std::string homeFolder() {
    if (auto home = absoluteVariable("HOME"); !home.empty()) {
        return home;
    }
    std::array<char, 4096> buffer{};
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && entry.pw_dir != nullptr && entry.pw_dir[0] == '/') {
        return withoutSlashes(entry.pw_dir);
    }
    return "/";
}

std::string configurationFolder() {
    auto folder = absoluteVariable("XDG_CONFIG_HOME");
    return folder.empty() ? homeFolder() + "/.config" : folder;
}

std::string stateFolder() {
    auto folder = absoluteVariable("XDG_STATE_HOME");
    return folder.empty() ? homeFolder() + "/.local/state" : folder;
}

std::string crashFolder() {
    return stateFolder() + "/quillbox/crashes";
}

std::vector<std::string> systemConfigurationFolders() {
    const char* value = std::getenv("XDG_CONFIG_DIRS");
    std::istringstream list(value != nullptr && value[0] != '\0' ? value : "/etc/xdg");
    std::vector<std::string> folders;
    for (std::string each; std::getline(list, each, ':');) {
        if (!each.empty() && each.front() == '/') {
            folders.push_back(withoutSlashes(each));
        }
    }
    return folders;
}

std::string temporaryFolder() {
    auto folder = absoluteVariable("TMPDIR");
    return folder.empty() ? "/tmp" : folder;
}

std::string runtimeFolder() {
    if (auto folder = absoluteVariable("XDG_RUNTIME_DIR"); isPrivateFolder(folder)) {
        return folder;
    }
    const std::string own = temporaryFolder() + "/quillbox-" + std::to_string(::geteuid());
    ::mkdir(own.c_str(), 0700);
    return isPrivateFolder(own) ? own : std::string();
}

}  // namespace quillbox::host
