// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/LocalFiles.h"

#include "Linux/Host/AtomicFile.h"
#include "Linux/Host/TreeRemoval.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>

namespace quillbox::host {

namespace {

struct DirectoryClose {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

/// Absolute, without "." and ".." and doubled or trailing slashes; by the letters alone.
std::string tidied(const std::string& path) {
    auto text = std::filesystem::absolute(path).lexically_normal().string();
    while (text.size() > 1 && text.back() == '/') {
        text.pop_back();
    }
    return text;
}

bool canHoldVolumes(const std::string& folder) {
    struct stat status = {};
    return ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           ::access(folder.c_str(), R_OK | W_OK | X_OK) == 0;
}

}  // namespace

LocalFiles::LocalFiles(std::string volumesFolder) : volumesFolder_(std::move(volumesFolder)) {}

LocalFiles::Place LocalFiles::placeOf(const std::string& path) const {
    if (path == volumesFolder_) {
        return Place::VolumesFolder;
    }
    const std::string prefix = volumesFolder_ == "/" ? "/" : volumesFolder_ + "/";
    if (!path.starts_with(prefix)) {
        return Place::Elsewhere;
    }
    return path.find('/', prefix.size()) == std::string::npos ? Place::NameInVolumesFolder
                                                              : Place::OnVolume;
}

bool LocalFiles::isOnVolume(const std::string& path) const {
    if (path.empty()) {
        return true;
    }
    const Place place = placeOf(tidied(path));
    return place == Place::OnVolume || place == Place::NameInVolumesFolder;
}

bool LocalFiles::isListed(const std::string& path) const {
    const std::unique_ptr<DIR, DirectoryClose> directory(::opendir(volumesFolder_.c_str()));
    const std::string name = path.substr(path.rfind('/') + 1);
    while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
        if (name == entry->d_name) {
            return true;
        }
    }
    return false;
}

bool LocalFiles::isTaken(const std::string& path) const {
    const auto isAmong = [&path](const auto& paths) {
        const auto all = paths ? paths() : std::vector<std::string>();
        return std::find(all.begin(), all.end(), path) != all.end();
    };
    return isAmong(claims_) || (!isAmong(tombstones_) && isListed(path));
}

bool LocalFiles::fileExistsAtPath(const std::string& path) {
    if (path.empty()) {
        return false;
    }
    const std::string clean = tidied(path);
    switch (placeOf(clean)) {
    case Place::OnVolume:
        return false;
    case Place::NameInVolumesFolder:
        return isTaken(clean);
    default:
        struct stat status = {};
        return ::lstat(clean.c_str(), &status) == 0;
    }
}

bool LocalFiles::fileExistsAtPath(const std::string& path, bool* isDirectory) {
    *isDirectory = false;
    if (!fileExistsAtPath(path)) {
        return false;
    }
    const std::string clean = tidied(path);
    struct stat status = {};
    // What stands in the volumes folder is a mount point or was one: not asked, it may be stalled.
    *isDirectory = placeOf(clean) == Place::NameInVolumesFolder ||
                   (::stat(clean.c_str(), &status) == 0 && S_ISDIR(status.st_mode));
    return true;
}

bool LocalFiles::createDirectoryAtPath(const std::string& path, std::string* error) {
    const std::string clean = path.empty() ? std::string() : tidied(path);
    int failure = 0;
    switch (clean.empty() ? Place::OnVolume : placeOf(clean)) {
    case Place::OnVolume:
        failure = EINVAL;
        break;
    case Place::NameInVolumesFolder:
        failure = makeFolders(volumesFolder_, 0755);
        if (failure == 0 && ::mkdir(clean.c_str(), 0755) != 0 && errno != EEXIST) {
            failure = errno;
        }
        break;
    default:
        failure = makeFolders(clean, 0755);
    }
    if (failure != 0 && error != nullptr) {
        *error = std::strerror(failure);
    }
    return failure == 0;
}

bool LocalFiles::removeItemAtPath(const std::string& path) {
    if (path.empty()) {
        return false;
    }
    const std::string clean = tidied(path);
    return placeOf(clean) != Place::OnVolume && removeTree(clean);
}

std::optional<std::string> chooseVolumesFolder(const std::optional<std::string>& given,
                                               const std::string& standard, const std::string& home,
                                               std::string* error) {
    std::string folder = given ? tidied(*given) : standard;
    int failure = makeFolders(folder, 0755);
    if (!given && (failure != 0 || !canHoldVolumes(folder))) {
        folder = home + "/Volumes";
        failure = makeFolders(folder, 0755);
    }
    if (failure == 0 && !canHoldVolumes(folder)) {
        failure = EACCES;
    }
    if (failure != 0) {
        *error = "The volumes folder " + folder + " cannot be used: " + std::strerror(failure);
        return std::nullopt;
    }
    std::error_code ignored;
    const auto real = std::filesystem::canonical(folder, ignored);
    return ignored ? folder : real.string();
}

}  // namespace quillbox::host
