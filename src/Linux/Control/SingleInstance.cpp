// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/SingleInstance.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

namespace quillbox::control {

namespace {

constexpr std::string_view kPrefix = "quillbox-";
constexpr std::string_view kLockSuffix = ".lock";
constexpr std::string_view kSocketSuffix = ".socket";
constexpr std::size_t kLongestRecord = 16 * 1024;

/// A file name for a key (FNV-1a over both texts, a NUL between them), without its suffix.
std::string fileName(const InstanceKey& key) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    const std::string both = key.multiplexer + '\0' + key.preferences;
    for (const char each : both) {
        hash = (hash ^ static_cast<unsigned char>(each)) * 0x100000001B3U;
    }
    std::array<char, 20> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
    return std::string(kPrefix) + digits.data();
}

/// The path behind all links, as far as it exists: two names of one file are one file. What is no
/// path stays as it is.
std::string realName(const std::string& path) {
    std::error_code error;
    const auto real = std::filesystem::weakly_canonical(path, error);
    return error ? path : real.string();
}

InstanceKey realKey(const InstanceKey& key) {
    return {realName(key.multiplexer), realName(key.preferences)};
}

bool operator==(const InstanceKey& a, const InstanceKey& b) {
    return a.multiplexer == b.multiplexer && a.preferences == b.preferences;
}

// Locks of the open file description: they end with its last descriptor, and can be looked at
// without being taken, so that a look never gets in the way of a program that starts.
struct flock wholeFile() {
    struct flock lock {};

    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

bool isLocked(const Descriptor& file) {
    auto lock = wholeFile();
    return ::fcntl(file.number(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

std::unique_ptr<Descriptor> openLock(const std::string& path, int flags) {
    return Descriptor::own(::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0600));
}

/// What a lock file says: process number, multiplexer, preference file and kind, a NUL after each.
std::vector<std::string> readRecord(const Descriptor& file) {
    std::string text(kLongestRecord, '\0');
    const auto count = ::pread(file.number(), text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    std::vector<std::string> fields;
    for (std::size_t end = text.find('\0'); end != std::string::npos; end = text.find('\0')) {
        fields.push_back(text.substr(0, end));
        text.erase(0, end + 1);
    }
    return fields;
}

bool writeRecord(const Descriptor& file, const std::vector<std::string>& fields) {
    std::string text;
    for (const auto& each : fields) {
        text += each + '\0';
    }
    return ::ftruncate(file.number(), 0) == 0 && ::pwrite(file.number(), text.data(), text.size(),
                                                          0) == static_cast<ssize_t>(text.size());
}

constexpr std::size_t kFields = 4;
constexpr const char* kSimulated = "simulated";
constexpr const char* kReal = "real";

std::string without(const std::string& path, std::string_view suffix) {
    return path.substr(0, path.size() - suffix.size());
}

std::optional<Instance> instanceOf(const std::string& lockPath) {
    const auto file = openLock(lockPath, O_RDONLY);
    if (!file || !isLocked(*file)) {
        return std::nullopt;
    }
    const auto fields = readRecord(*file);
    if (fields.size() != kFields) {
        return std::nullopt;
    }
    return Instance{{fields[1], fields[2]},
                    std::atoi(fields[0].c_str()),
                    fields[3] == kSimulated,
                    without(lockPath, kLockSuffix) + std::string(kSocketSuffix),
                    lockPath};
}

}  // namespace

SingleInstance::Result SingleInstance::take(const std::string& runtimeFolder,
                                            const InstanceKey& key, bool isSimulated,
                                            std::string* message) {
    const InstanceKey real = realKey(key);
    const std::string base = runtimeFolder + "/" + fileName(real);
    const std::string path = base + std::string(kLockSuffix);
    socketPath_ = base + std::string(kSocketSuffix);
    auto file = openLock(path, O_RDWR | O_CREAT);
    if (!file) {
        *message = "The lock file " + path + " cannot be opened: " + std::strerror(errno);
        return Result::Failed;
    }
    const auto lock = wholeFile();
    if (::fcntl(file->number(), F_OFD_SETLK, &lock) != 0) {
        if (errno != EAGAIN && errno != EACCES) {
            *message = "The lock file " + path + " cannot be locked: " + std::strerror(errno);
            return Result::Failed;
        }
        const auto fields = readRecord(*file);
        *message = fields.empty() ? "" : fields.front();
        return Result::Running;
    }
    if (!writeRecord(*file, {std::to_string(::getpid()), real.multiplexer, real.preferences,
                             isSimulated ? kSimulated : kReal})) {
        *message = "The lock file " + path + " cannot be written: " + std::strerror(errno);
        return Result::Failed;
    }
    lock_ = std::move(file);
    return Result::Taken;
}

std::vector<Instance> runningInstances(const std::string& runtimeFolder) {
    std::vector<Instance> running;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(runtimeFolder, error), end;
         !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (name.starts_with(kPrefix) && name.ends_with(kLockSuffix)) {
            if (auto instance = instanceOf(entry->path())) {
                running.push_back(std::move(*instance));
            }
        }
    }
    std::sort(running.begin(), running.end(),
              [](const Instance& a, const Instance& b) { return a.lockPath < b.lockPath; });
    return running;
}

bool isRunning(const Instance& instance) {
    const auto file = openLock(instance.lockPath, O_RDONLY);
    return file && isLocked(*file);
}

std::vector<Instance> choose(std::vector<Instance> running, const InstanceWish& wish) {
    const InstanceKey key = realKey(wish.key);
    std::erase_if(running, [&](const Instance& each) {
        return (wish.namesMultiplexer && each.key.multiplexer != key.multiplexer) ||
               (wish.namesPreferences && each.key.preferences != key.preferences) ||
               (wish.isSimulated && !each.isSimulated);
    });
    const auto exact = std::find_if(running.begin(), running.end(),
                                    [&](const Instance& each) { return each.key == key; });
    return exact != running.end() ? std::vector{*exact} : running;
}

}  // namespace quillbox::control
