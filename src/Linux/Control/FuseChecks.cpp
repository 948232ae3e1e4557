// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Descriptor.h"
#include "Linux/Control/Doctor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>

namespace quillbox::control {

namespace {

using Kind = Finding::Kind;

constexpr const char* kProgram = "fusermount3";
constexpr const char* kInstall = "install the package fuse3";

Finding checkDevice(const std::string& path) {
    const std::string subject = "FUSE in the kernel";

    struct stat status {};

    if (::stat(path.c_str(), &status) != 0) {
        return {Kind::Problem, subject, path + " is not there",
                "load the kernel's module (modprobe fuse); inside a container, hand the device on"};
    }
    if (!S_ISCHR(status.st_mode)) {
        return {Kind::Problem, subject, path + " is no device", kInstall};
    }
    if (Descriptor::own(::open(path.c_str(), O_RDWR | O_CLOEXEC))) {
        return {Kind::Good, subject, path + " can be opened", {}};
    }
    const int error = errno;
    const std::string text = path + " cannot be opened: " + std::strerror(error);
    if (error == EACCES || error == EPERM) {
        return {Kind::Problem, subject, text,
                "let this user open it: join the group that owns it, or set its mode to 0666"};
    }
    return {Kind::Problem, subject, text, "load the kernel's module (modprobe fuse)"};
}

std::optional<std::string> findProgram(const std::vector<std::string>& folders) {
    for (const auto& each : folders) {
        std::string path = each + "/" + kProgram;
        if (::access(path.c_str(), F_OK) == 0) {
            return path;
        }
    }
    return std::nullopt;
}

/// Whether the kernel withholds the rights of setuid programs from this process.
bool hasNoNewPrivileges(const std::string& processStatus) {
    std::ifstream lines(processStatus);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("NoNewPrivs:")) {
            return line.find('1') != std::string::npos;
        }
    }
    return false;
}

Finding checkProgram(const FusePlaces& places) {
    const std::string subject = "Mount helper";
    const auto path = findProgram(places.folders);
    if (places.isRoot) {
        return {Kind::Good, subject, "not needed by root", {}};
    }
    if (!path) {
        return {Kind::Problem, subject, std::string(kProgram) + " is not installed", kInstall};
    }

    struct stat status {};

    if (::access(path->c_str(), X_OK) != 0 || ::stat(path->c_str(), &status) != 0) {
        return {Kind::Problem, subject, *path + " cannot be run: " + std::strerror(errno),
                "join the group that may run it, or install the package fuse3 anew"};
    }
    if (status.st_uid != 0 || (status.st_mode & S_ISUID) == 0) {
        return {Kind::Problem, subject, *path + " does not run as root (it is not setuid)",
                "install the package fuse3 anew, or: chown root " + *path + "; chmod u+s " + *path};
    }
    if (hasNoNewPrivileges(places.processStatus)) {
        return {Kind::Problem, subject,
                *path + " gets no rights here: programs may not gain privileges",
                "start Quillbox outside the sandbox or service that forbids it"};
    }
    return {Kind::Good, subject, *path + " is installed and runs as root", {}};
}

}  // namespace

FusePlaces FusePlaces::ofThisSystem() {
    FusePlaces places;
    places.isRoot = ::geteuid() == 0;
    const char* path = std::getenv("PATH");
    std::istringstream folders(std::string("/usr/bin:/bin:/usr/local/bin:") +
                               (path != nullptr ? path : ""));
    for (std::string each; std::getline(folders, each, ':');) {
        if (!each.empty()) {
            places.folders.push_back(each);
        }
    }
    return places;
}

std::vector<Finding> checkFuse(const FusePlaces& places) {
    return {checkDevice(places.device), checkProgram(places)};
}

}  // namespace quillbox::control
