// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Surface.h"
#include "App/Wiring.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Shell/PodController.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/iPodDevice.h"
#include "Linux/Host/Signals.h"
#include "Linux/Host/SystemLog.h"
#include "SimulatedPhones.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

namespace quillbox {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// Reads, writes, lists and removes below a folder of volumes until told to stop. Failures are what
/// the test provokes: what counts is that every call comes back and nothing breaks.
void useVolumes(const std::string& folder, unsigned seed, const std::atomic<bool>& stop,
                std::atomic<long>& successes) {
    std::mt19937 random(seed);
    std::vector<char> block(200'000, 'x');
    while (!stop) {
        std::error_code error;
        for (fs::directory_iterator volume(folder, error), end; !error && volume != end;
             volume.increment(error)) {
            const fs::path path = volume->path() / ("worker " + std::to_string(seed));
            std::ofstream out(path, std::ios::binary | std::ios::trunc);
            out.write(block.data(), static_cast<std::streamsize>(random() % block.size()));
            out.close();
            std::ifstream in(path, std::ios::binary);
            in.read(block.data(), static_cast<std::streamsize>(block.size()));
            successes += in.gcount() > 0 ? 1 : 0;
            in.close();
            std::error_code ignored;
            for (fs::directory_iterator entry(volume->path(), ignored); !ignored && entry != end;
                 entry.increment(ignored)) {
                successes += entry->exists(ignored) ? 1 : 0;
            }
            if (random() % 2 == 0) {
                fs::remove(path, ignored);
            }
        }
        std::this_thread::sleep_for(1ms);
    }
}

int mountsBelow(const std::string& folder) {
    std::ifstream table("/proc/self/mountinfo");
    int mounts = 0;
    for (std::string line; std::getline(table, line);) {
        mounts += line.find(" " + folder + "/") != std::string::npos ? 1 : 0;
    }
    return mounts;
}

class RootsUnderLoad : public ::testing::Test {
protected:
    RootsUnderLoad()
        : volumes_(phones_.folder() + "/Volumes"),
          log_(LogLevel::Error),
          bundle_(),
          wiring_(headless_.surface(), loop_, log_, bundle_, volumes_,
                  phones_.folder() + "/preferences.plist") {
        fs::create_directories(volumes_);
        CommonData::setPlatform(wiring_.platform());
    }

    ~RootsUnderLoad() override { CommonData::resetSharedInstance(); }

    /// What a person does who picks another root in the menu; on the main thread.
    void switchRoots() {
        for (const auto& device : CommonData::sharedInstance().connectedDevices()) {
            const auto session = device->iPhoneInterface();
            const auto apps = session->getUserAppBundlesArray(false).size();
            const std::int32_t choice = static_cast<std::int32_t>(random_() % (apps + 2));
            const std::int32_t tag = choice == 0   ? kRootTagMedia
                                     : choice == 1 ? kRootTagRoot
                                                   : kRootTagApplication + choice - 2;
            if (session->setupConnectionForRoot(tag)) {
                device->stopMount();
                device->startMount();
                ++switches_;
            }
        }
        if (!loop_.isQuitting()) {
            loop_.addTimer(150ms, [this] { switchRoots(); });
        }
    }

    test::SimulatedPhones phones_{{"--devices", "3", "--sample"}};
    std::string volumes_;
    host::Signals signals_;
    host::SystemLog log_;
    host::MainLoop loop_;
    host::ProgramBundle bundle_;
    app::HeadlessSurface headless_{loop_, log_};
    app::Wiring wiring_;
    std::mt19937 random_{7};
    std::atomic<int> switches_{0};
};

TEST_F(RootsUnderLoad, VolumesAreUsedWhileRootsChangeDevicesLeaveAndTheProgramQuits) {
    PodController controller;
    controller.awakeFromNib();
    std::atomic<bool> stop{false};
    std::atomic<long> successes{0};
    std::vector<std::thread> workers;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        workers.emplace_back([&, seed] { useVolumes(volumes_, seed, stop, successes); });
    }
    std::thread cable([&] {
        for (int round = 0; round < 6; ++round) {
            std::this_thread::sleep_for(900ms);
            const auto& identifier = phones_.identifiers()[static_cast<std::size_t>(round) % 3];
            phones_.control({"detach", identifier});
            std::this_thread::sleep_for(300ms);
            phones_.control({"attach", identifier});
        }
        // A sanitized program takes its time; the bound only keeps the test from hanging.
        for (int tries = 0; tries < 600 && switches_ <= 5; ++tries) {
            std::this_thread::sleep_for(100ms);
        }
        loop_.quit();
    });
    loop_.addTimer(800ms, [this] { switchRoots(); });
    loop_.run();
    cable.join();

    loop_.allowWaits(2s);
    wiring_.platform().notifications.post(
        {std::string(NSApplicationWillTerminateNotification), nullptr, {}});
    controller.applicationWillTerminate();
    wiring_.volumes().endAll();
    stop = true;
    for (auto& worker : workers) {
        worker.join();
    }
    wiring_.devices().stop();

    EXPECT_GT(successes, 100) << "the volumes were hardly used";
    EXPECT_GT(switches_, 5) << "the roots were hardly switched";
    EXPECT_EQ(mountsBelow(volumes_), 0);
    wiring_.volumes().endAll();  // what the writers had put into a bare folder is gone by now
    for (const auto& left : std::filesystem::directory_iterator(volumes_)) {
        EXPECT_FALSE(std::filesystem::is_empty(left)) << left << " was left behind";
    }
}

TEST_F(RootsUnderLoad, ARememberedApplicationRootComesBackAtTheNextArrival) {
    PodController controller;
    controller.awakeFromNib();
    std::int32_t before = 0;
    std::int32_t after = 0;
    const auto& identifier = phones_.identifiers().front();
    const auto session = [&]() -> std::shared_ptr<PodPhone> {
        for (const auto& device : CommonData::sharedInstance().connectedDevices()) {
            if (device->iPhoneInterface()->uniqueDeviceID() == identifier && device->isMounted()) {
                return device->iPhoneInterface();
            }
        }
        return nullptr;
    };
    // Each step waits for the one before, on the main loop.
    std::function<void()> step;
    int stage = 0;
    std::thread cable;
    step = [&] {
        const auto phone = session();
        if (stage == 0 && phone && !phone->getUserAppBundlesArray(false).empty()) {
            for (const auto& device : CommonData::sharedInstance().connectedDevices()) {
                if (device->iPhoneInterface() == phone) {
                    before = kRootTagApplication;
                    EXPECT_TRUE(phone->setupConnectionForRoot(before));
                    device->stopMount();
                    device->startMount();
                }
            }
            stage = 1;
        } else if (stage == 1 && phone) {
            cable = std::thread([&] {
                std::this_thread::sleep_for(500ms);
                phones_.control({"detach", identifier});
                std::this_thread::sleep_for(1500ms);
                phones_.control({"attach", identifier});
            });
            stage = 2;
        } else if (stage == 2 && !phone) {
            stage = 3;
        } else if (stage == 3 && phone) {
            after = phone->currentRootTag();
            loop_.quit();
            return;
        }
        loop_.addTimer(50ms, step);
    };
    loop_.addTimer(50ms, step);
    loop_.addTimer(60s, [this] { loop_.quit(); });
    loop_.run();
    if (cable.joinable()) {
        cable.join();
    }
    loop_.allowWaits(2s);
    controller.applicationWillTerminate();
    wiring_.volumes().endAll();
    wiring_.devices().stop();
    EXPECT_EQ(after, before);
    EXPECT_EQ(after, kRootTagApplication);
}

}  // namespace
}  // namespace quillbox
