// SPDX-License-Identifier: GPL-3.0-or-later
#include "RealProgram.h"

#include "Core/Settings/CachedFlags.h"
#include "Core/Volumes/CommonData.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/stat.h>
#include <thread>

namespace quillbox::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

/// Only keeps a test from hanging: a sanitized program on a busy machine takes its time.
constexpr auto kPatience = 200s;

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

}  // namespace

void KeptLog::write(LogLevel /*level*/, std::string_view text) {
    const std::lock_guard guard(mutex_);
    lines_.emplace_back(text);
}

std::string KeptLog::lineThatBegins(std::string_view start) const {
    const std::lock_guard guard(mutex_);
    const auto found = std::find_if(lines_.begin(), lines_.end(),
                                    [start](const auto& line) { return line.starts_with(start); });
    return found == lines_.end() ? "" : *found;
}

RealProgram::RealProgram(const SimulatedPhones& phones)
    : volumes_(phones.folder() + "/Volumes"),
      bundle_(),
      wiring_(headless_.surface(), loop_, log_, bundle_, volumes_,
              phones.folder() + "/preferences.plist") {
    fs::create_directories(volumes_);
    clearCachedFlags();
    CommonData::setPlatform(wiring_.platform());
    controller_ = std::make_unique<PodController>();
    controller_->awakeFromNib();
}

RealProgram::~RealProgram() {
    controller_.reset();
    CommonData::resetSharedInstance();
}

void RealProgram::play(const std::function<void()>& script) {
    std::thread person([&] {
        script();
        loop_.quit();
    });
    loop_.run();
    person.join();
    loop_.allowWaits(2s);
    wiring_.platform().notifications.post(
        {std::string(NSApplicationWillTerminateNotification), nullptr, {}});
    controller_->applicationWillTerminate();
    wiring_.volumes().endAll();
    wiring_.platform().preferences.synchronize();
    wiring_.devices().stop();
}

std::shared_ptr<iPodDevice> RealProgram::deviceNamed(const std::string& name) const {
    for (const auto& device : CommonData::sharedInstance().connectedDevices()) {
        if (device->deviceName() == name) {
            return device;
        }
    }
    return nullptr;
}

// A device believes itself mounted as soon as any volume is, so the kernel is asked too.
bool RealProgram::isMountedInTime(const std::string& name) {
    const std::string path = volumes_ + "/" + name;
    return eventually([&] {
        const bool isTold = onMain([&path] {
            const auto devices = CommonData::sharedInstance().connectedDevices();
            return std::any_of(devices.begin(), devices.end(), [&path](const auto& device) {
                return device->isMounted() && device->myMountPath() == path;
            });
        });
        struct stat above = {};
        struct stat volume = {};
        return isTold && ::stat(volumes_.c_str(), &above) == 0 &&
               ::stat(path.c_str(), &volume) == 0 && volume.st_dev != above.st_dev;
    });
}

bool RealProgram::isAloneInTime() {
    return eventually([this] {
        return onMain([] { return CommonData::sharedInstance().connectedDevices().empty(); });
    });
}

std::shared_ptr<MenuItem> RealProgram::root(const std::string& title,
                                            const std::string& deviceName) {
    return onMain([&]() -> std::shared_ptr<MenuItem> {
        const auto device = deviceNamed(deviceName);
        const auto menu = device ? device->submi_connectionRoot()->submenu() : nullptr;
        return menu ? menu->itemWithTitle(title) : nullptr;
    });
}

bool RealProgram::choose(const std::string& title, const std::string& deviceName) {
    const auto item = root(title, deviceName);
    if (item) {
        onMain([&item] { item->perform(); });
    }
    return item != nullptr;
}

std::vector<std::string> RealProgram::list(const std::string& volume) const {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(volumes_ + "/" + volume, error), end; !error && entry != end;
         entry.increment(error)) {
        names.push_back(entry->path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string RealProgram::information(const std::string& volume, const std::string& key) const {
    std::ifstream file(volumes_ + "/" + volume + "/.xdg-volume-info");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key + "=")) {
            return line.substr(key.size() + 1);
        }
    }
    return {};
}

}  // namespace quillbox::test
