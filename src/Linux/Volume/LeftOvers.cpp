// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/LeftOvers.h"

#include "Linux/Volume/Detach.h"
#include "Linux/Volume/MountTable.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <future>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>

namespace quillbox {
namespace {

constexpr auto kAnswerTime = std::chrono::seconds(1);

// Whether the program behind a volume is gone. Asked on a thread of its own, since a live program
// with a stalled device may not answer for long; that thread cannot be called back, so it is let
// go: it owns all that it touches and ends with the answer or the process.
bool isDead(const std::string& path) {
    std::promise<int> promise;
    std::future<int> answer = promise.get_future();
    std::thread([path, promise = std::move(promise)]() mutable {
        struct statfs figures = {};
        promise.set_value(::statfs(path.c_str(), &figures) == 0 ? 0 : errno);
    }).detach();
    return answer.wait_for(kAnswerTime) == std::future_status::ready && answer.get() == ENOTCONN;
}

bool belongsToUs(const volume::Mount& mount) {
    return mount.type == volume::kVolumeType &&
           mount.option("user_id") == std::to_string(::getuid());
}

}  // namespace

void removeLeftOverVolumes(const std::string& folder, Log& log) {
    std::error_code error;
    const std::filesystem::path place = std::filesystem::canonical(folder, error);
    if (error) {
        return;  // no folder, no volumes
    }
    for (const volume::Mount& mount : volume::mountTable()) {
        const std::filesystem::path path = mount.mountPoint;
        if (!belongsToUs(mount) || path.parent_path() != place || !isDead(path)) {
            continue;
        }
        if (const int failure = volume::detach(path, volume::Detachment::Lazy); failure != 0) {
            log.write(LogLevel::Warning, "The left-over volume " + path.string() +
                                             " could not be removed: " + std::strerror(failure));
            continue;
        }
        ::rmdir(path.c_str());
        log.write(LogLevel::Info, "Removed the left-over volume " + path.string() + ".");
    }
}

}  // namespace quillbox
