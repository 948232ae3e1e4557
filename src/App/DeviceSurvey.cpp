// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/DeviceSurvey.h"

#include "Core/Platform/Log.h"
#include "Linux/Device/DeviceLibrary.h"
#include "Linux/Host/MainLoop.h"
#include "Linux/Host/Signals.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string_view>

namespace quillbox::app {

namespace {

using namespace std::chrono_literals;

constexpr auto kPause = 50ms;
/// From the multiplexer's answer until it has told of every device.
constexpr auto kRollCall = 500ms;

class NoLog final : public Log {
public:
    bool isEnabled(LogLevel /*level*/) const override { return false; }

    void write(LogLevel /*level*/, std::string_view /*text*/) override {}
};

const char* wordFor(DeviceTrustState state) {
    switch (state) {
    case DeviceTrustState::Unknown:
        return "unknown";
    case DeviceTrustState::Trusted:
        return control::kTrustedState;
    case DeviceTrustState::DialogPending:
        return "waiting-for-trust";
    case DeviceTrustState::Locked:
        return "locked";
    case DeviceTrustState::Denied:
        return "trust-refused";
    case DeviceTrustState::TrustReset:
        return "trust-reset";
    case DeviceTrustState::NotUnlockedSinceStart:
        return "not-unlocked-since-start";
    case DeviceTrustState::Silent:
        return "not-answering";
    case DeviceTrustState::Refused:
        return "pairing-failed";
    case DeviceTrustState::Gone:
        return "gone";
    }
    return "unknown";
}

/// One look at all devices.
class Survey {
public:
    explicit Survey(std::chrono::milliseconds patience)
        : deadline_(host::MainLoop::Clock::now() + patience) {}

    std::vector<control::DeviceView> take() {
        std::uint64_t subscription = 0;
        library_.devices().AMDeviceNotificationSubscribe(&Survey::heard, 0, 0, this, &subscription);
        loop_.addTimer(kRollCall, [this] { look(); });
        loop_.run();
        std::vector<control::DeviceView> views;
        for (const auto& each : library_.attached()) {
            views.push_back(viewOf(each));
        }
        library_.stop();
        return views;
    }

private:
    /// A device whose services wait for its first unlock shows that only when one is started.
    static void heard(AMDeviceNotificationInfo* info, void* userData) {
        auto& survey = *static_cast<Survey*>(userData);
        if (info->message == kAMDeviceConnected) {
            auto& devices = survey.library_.devices();
            AFCConnectionRef service = 0;
            if (devices.AMDeviceConnect(info->device) == 0 &&
                devices.AMDeviceStartSession(info->device) == 0) {
                devices.AMDeviceStartService(info->device, "com.apple.afc", &service, nullptr);
                devices.AMDeviceStopSession(info->device);
            }
            devices.AMDeviceDisconnect(info->device);
            survey.tried_.insert(info->device);
        }
    }

    void look() {
        const auto devices = library_.attached();
        const bool isComplete =
            std::all_of(devices.begin(), devices.end(), [this](const AttachedDevice& each) {
                return each.state != DeviceTrustState::Unknown &&
                       (each.state != DeviceTrustState::Trusted || tried_.contains(each.device));
            });
        if (isComplete || host::MainLoop::Clock::now() >= deadline_) {
            loop_.quit();
        } else {
            loop_.addTimer(kPause, [this] { look(); });
        }
    }

    const host::MainLoop::Clock::time_point deadline_;
    const host::Signals signals_;
    NoLog log_;
    host::MainLoop loop_;
    DeviceLibrary library_{loop_, log_};
    std::set<AMDeviceRef> tried_;
};

}  // namespace

control::DeviceView viewOf(const AttachedDevice& device) {
    control::DeviceView view;
    view.name = device.name;
    view.serialNumber = device.serialNumber;
    view.uniqueDeviceID = device.uniqueDeviceID;
    view.state = wordFor(device.state);
    view.advice = describe(device.state);
    return view;
}

std::vector<control::DeviceView> surveyDevices(std::chrono::milliseconds patience) {
    return Survey(patience).take();
}

}  // namespace quillbox::app
