// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace quillbox::host {

namespace {

/// A file name for a pair of texts (FNV-1a over both, a NUL between them).
std::string lockName(const std::string& socket, const std::string& preferences) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    const std::string both = socket + '\0' + preferences;
    for (const char each : both) {
        hash = (hash ^ static_cast<unsigned char>(each)) * 0x100000001B3U;
    }
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), "quillbox-%016llx.lock",
                  static_cast<unsigned long long>(hash));
    return name.data();
}

/// The path behind all links, as far as it exists: two names of one file are one file.
std::string realName(const std::string& path) {
    std::error_code error;
    const auto real = std::filesystem::weakly_canonical(path, error);
    return error ? path : real.string();
}

}  // namespace

SingleInstance::Result SingleInstance::take(const std::string& runtimeFolder,
                                            const std::string& multiplexerSocket,
                                            const std::string& preferenceFile,
                                            std::string* message) {
    const std::string path =
        runtimeFolder + "/" + lockName(realName(multiplexerSocket), realName(preferenceFile));
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file) {
        *message = "The lock file " + path + " cannot be opened: " + std::strerror(errno);
        return Result::Failed;
    }
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            *message = "The lock file " + path + " cannot be locked: " + std::strerror(errno);
            return Result::Failed;
        }
        std::array<char, 32> number{};
        const auto count = ::read(file.get(), number.data(), number.size() - 1);
        *message = count > 0 ? std::string(number.data(), static_cast<std::size_t>(count)) : "";
        return Result::Running;
    }
    const std::string number = std::to_string(::getpid());
    if (::ftruncate(file.get(), 0) != 0 ||
        ::pwrite(file.get(), number.data(), number.size(), 0) < 0) {
        *message = "The lock file " + path + " cannot be written: " + std::strerror(errno);
        return Result::Failed;
    }
    lock_ = std::move(file);
    return Result::Taken;
}

}  // namespace quillbox::host
