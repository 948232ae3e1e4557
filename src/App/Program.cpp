// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Program.h"

#include "App/ControlPoint.h"
#include "App/DeviceControl.h"
#include "App/DeviceNotices.h"
#include "App/ExitGuard.h"
#include "App/InstanceKey.h"
#include "App/LastResort.h"
#include "App/Simulation.h"
#include "App/Surface.h"
#include "App/VolumeJournal.h"
#include "App/VolumeNotices.h"
#include "App/VolumePlaces.h"
#include "App/Wiring.h"
#include "Core/Platform/LogLine.h"
#include "Core/Shell/PodController.h"
#include "Core/Volumes/CommonData.h"
#include "Linux/Control/SingleInstance.h"
#include "Linux/Control/VerbClient.h"
#include "Linux/Control/Verbs.h"
#include "Linux/Desktop/ApplicationBus.h"
#include "Linux/Desktop/Display.h"
#include "Linux/Host/AutostartEntries.h"
#include "Linux/Host/CrashReports.h"
#include "Linux/Host/Signals.h"
#include "Linux/Host/SystemLog.h"
#include "Linux/Host/UserFolders.h"
#include "Linux/Volume/LeftOvers.h"

#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace quillbox::app {

namespace {

using namespace std::chrono_literals;

constexpr int kStartFailed = 1;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;  // such a build reports its crashes itself
#else
constexpr bool kIsSanitized = false;
#endif
/// What the end may still ask of devices, all together.
constexpr auto kLastWords = 2s;
/// From the request to end until the end is forced.
constexpr auto kLongestEnd = 6s;
/// How long a second start waits for the first one's answer.
constexpr auto kRaisePatience = 20s;

/// The program with what it tells about itself.
host::ProgramBundle describedBundle() {
    std::string help = QUILLBOX_HELP_ADDRESS;
    if (help.empty()) {
        help = host::ProgramBundle().documentAddress("README.md");
    }
    return host::ProgramBundle({{std::string(kCFBundleVersionKey), QUILLBOX_VERSION},
                                {std::string(kHelpAddressInfoKey), help}});
}

/// The life of the program, from its options to its exit status.
class Program {
public:
    explicit Program(const Options& options) : options_(options), log_(options.logLevel) {}

    int run() {
        if (!chooseDevices()) {
            return kStartFailed;
        }
        if (const auto status = becomeTheOnlyOne()) {
            return *status;
        }
        if (!options_.headless) {
            if (const auto why = desktop::whyNoDisplay()) {
                refuse(*why);
                return kStartFailed;
            }
        }
        if (!chooseVolumes() || !startSimulation()) {
            return kStartFailed;
        }
        serve();
        return 0;
    }

private:
    bool refuse(const std::string& why) {
        log_.write(LogLevel::Error, why);
        return false;
    }

    bool chooseDevices() {
        if (!options_.simulate) {
            return true;
        }
        std::string error;
        simulation_ = Simulation::prepare(&error);
        if (!simulation_) {
            return refuse(error);
        }
        ::setenv(kMultiplexerVariable, ("UNIX:" + simulation_->socket()).c_str(), 1);
        return true;
    }

    /// Nothing when this is the only one now, else the exit status.
    std::optional<int> becomeTheOnlyOne() {
        const auto key = instanceKey(options_);
        preferences_ = key.preferences;
        const std::string folder = host::runtimeFolder();
        if (folder.empty()) {
            refuse("There is no private folder for the lock of this program.");
            return kStartFailed;
        }
        std::string message;
        switch (instance_.take(folder, key, options_.simulate, &message)) {
        case control::SingleInstance::Result::Taken:
            return std::nullopt;
        case control::SingleInstance::Result::Failed:
            refuse(message);
            return kStartFailed;
        case control::SingleInstance::Result::Running:
            break;
        }
        return showTheOther(folder, key);
    }

    /// Lets the program that runs already show itself; answers the exit status.
    int showTheOther(const std::string& folder, const control::InstanceKey& key) {
        const auto running =
            control::choose(control::runningInstances(folder), {true, true, false, key});
        control::CallResult result;
        result.error = "it has no record in " + folder;
        if (running.size() == 1) {
            result = control::call(running.front(), {control::kRaise, false, options_.given},
                                   kRaisePatience);
        }
        if (result.kind != control::CallResult::Kind::Answered) {
            refuse("Quillbox is already running for these devices and settings, and does not "
                   "show itself: " +
                   result.error + ".");
            return kStartFailed;
        }
        std::cout << result.answer.output << std::flush;
        return result.answer.status;
    }

    bool chooseVolumes() {
        std::string error;
        const auto folder =
            host::chooseVolumesFolder(options_.volumes, "/Volumes", host::homeFolder(), &error);
        if (!folder) {
            return refuse(error + ".");
        }
        volumesFolder_ = *folder;
        return true;
    }

    bool startSimulation() {
        std::string error;
        return !simulation_ ||
               simulation_->start(bundle_.siblingProgram("quillbox-simulator"),
                                  options_.simulatedMedia, &error) ||
               refuse(error);
    }

    void serve() {
        if (!kIsSanitized) {
            host::CrashReports::reportCrashes(host::crashFolder(), "Quillbox " QUILLBOX_VERSION);
        }
        host::MainLoop loop;
        if (options_.headless) {
            HeadlessSurface headless(loop, log_);
            serve(loop, headless.surface(), nullptr);
        } else {
            DesktopSurface onDesktop(loop, log_, bundle_, volumesFolder_);
            serve(loop, onDesktop.surface(), &onDesktop.desktop());
        }
    }

    /// `desktop` is null without one.
    void serve(host::MainLoop& loop, const Surface& surface, desktop::Desktop* desktop) {
        loop.setWaitObserver([this, desktop](const std::string& what, bool waiting) {
            logLine(log_, waiting ? LogLevel::Info : LogLevel::Debug,
                    waiting ? "Waiting: " : "No longer waiting: ", what, ".");
            if (desktop != nullptr) {
                desktop->showWait(waiting ? what : "");
            }
        });
        lastResort_.emplace(log_, kLongestEnd, [mounted = mounted_] { return mounted->list(); });
        removeLeftOverVolumes(volumesFolder_, log_);
        Wiring wiring(surface, loop, log_, bundle_, volumesFolder_, preferences_);
        std::optional<DeviceNotices> notices;
        if (desktop != nullptr) {
            notices.emplace(*desktop, loop);
            wiring.devices().setTrustObserver(notices->observer());
        }
        CommonData::setPlatform(wiring.platform());
        {
            const VolumeJournal journal(wiring.platform().notifications, log_, mounted_);
            VolumePlaces places(loop, wiring.platform().notifications, log_, mounted_);
            std::optional<VolumeNotices> volumeNotices;
            if (desktop != nullptr) {
                volumeNotices.emplace(*desktop, loop, wiring.platform().notifications,
                                      wiring.volumes(), mounted_);
            }
            PodController controller;
            DeviceControl verbs(loop, wiring.platform().notifications, wiring.devices(), mounted_,
                                options_.given);
            std::optional<desktop::ApplicationBus> bus;
            if (desktop != nullptr) {
                const auto raise = [desktop, &controller] {
                    desktop->showMenuWindow();
                    controller.showWelcomeScreen(nullptr);
                };
                verbs.setRaise(raise);
                bus.emplace(host::AutostartEntries::kApplicationId,
                            busActions(loop, controller, raise));
            }
            const auto control = openControl(loop);
            control->serve(&verbs);
            controller.awakeFromNib();
            controller.applicationDidFinishLaunching();
            logLine(log_, LogLevel::Info, "Quillbox ", QUILLBOX_VERSION,
                    " is running; volumes appear in ", volumesFolder_, ".");
            const ExitGuard guard([&] {
                log_.write(LogLevel::Warning, "The display is gone: Quillbox ends.");
                loop.setSleeper({});
                loop.quit();
                control->serve(nullptr);
                end(loop, wiring, controller);
                places.clear();
                auto& files = wiring.platform().files;
                files.removeItemAtPath(files.temporaryDirectory());
                simulation_.reset();
            });
            loop.run();
            control->serve(nullptr);
            end(loop, wiring, controller);
        }
        CommonData::resetSharedInstance();
        log_.write(LogLevel::Info, "Quillbox has ended.");
    }

    /// What other programs may ask for over the session bus. Windows wait for their turn of the
    /// loop; the end waits for nobody.
    static desktop::ApplicationBus::Actions
    busActions(host::MainLoop& loop, PodController& controller, std::function<void()> raise) {
        const auto show = [&loop, &controller](void (PodController::*action)(const void*)) {
            return [&loop, &controller, action] {
                loop.post([&controller, action] { (controller.*action)(nullptr); });
            };
        };
        return {{"", [&loop, raise = std::move(raise)] { loop.post(raise); }},
                {"preferences", show(&PodController::showPreferencesController)},
                {"about", show(&PodController::showAboutThisApp)},
                {"quit", [&loop] { loop.quit(); }}};
    }

    /// Without a socket for its verbs the program would be out of reach: then it does not start.
    std::unique_ptr<ControlPoint> openControl(host::MainLoop& loop) {
        std::string error;
        auto control = ControlPoint::open(
            instance_.socketPath(), loop,
            [this, &loop] {
                loop.quit();
                lastResort_->arm();
            },
            &error);
        if (!control) {
            throw std::runtime_error(error);
        }
        return control;
    }

    void end(host::MainLoop& loop, Wiring& wiring, PodController& controller) {
        lastResort_->arm();
        loop.allowWaits(kLastWords);
        wiring.platform().notifications.post(
            {std::string(NSApplicationWillTerminateNotification), nullptr, {}});
        controller.applicationWillTerminate();
        wiring.volumes().endAll();
        wiring.platform().preferences.synchronize();
        wiring.devices().stop();
    }

    const Options options_;
    const host::Signals signals_;
    host::SystemLog log_;
    const host::ProgramBundle bundle_ = describedBundle();
    const std::shared_ptr<MountedPaths> mounted_ = std::make_shared<MountedPaths>();
    std::optional<LastResort> lastResort_;  ///< before all whose end it watches over
    control::SingleInstance instance_;
    std::unique_ptr<Simulation> simulation_;
    std::string preferences_;
    std::string volumesFolder_;
};

}  // namespace

int runProgram(const Options& options) {
    return Program(options).run();
}

}  // namespace quillbox::app
