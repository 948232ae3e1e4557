// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/RunDoctor.h"

#include "App/DeviceSurvey.h"
#include "App/InstanceKey.h"
#include "App/LibraryVersions.h"
#include "Linux/Control/Doctor.h"
#include "Linux/Control/VerbClient.h"
#include "Linux/Device/MultiplexerProbe.h"
#include "Linux/Host/LocalFiles.h"
#include "Linux/Host/UserFolders.h"
#include "Linux/Volume/MountOptions.h"

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::app {

namespace {

using namespace std::chrono_literals;
using control::Finding;
using Kind = Finding::Kind;

constexpr auto kMultiplexerPatience = 3s;
constexpr auto kProgramPatience = 10s;
constexpr auto kSurveyPatience = 8s;

Finding judge(const MultiplexerProbe& probe) {
    const std::string subject = "Device service";
    using Health = MultiplexerProbe::Health;
    switch (probe.health) {
    case Health::Answers:
        return {Kind::Good, subject, "answers at " + probe.address, {}};
    case Health::NotRunning:
        return {Kind::Problem, subject, "nothing answers at " + probe.address + ": " + probe.reason,
                "install the package usbmuxd; it is started when a device is plugged in "
                "(systemctl start usbmuxd starts it by hand)"};
    case Health::Silent:
        return {Kind::Problem, subject,
                "accepts connections at " + probe.address + " and does not answer",
                "start it anew: systemctl restart usbmuxd"};
    }
    return {Kind::Problem, subject, "its state is unknown", {}};
}

Finding judgeVolumesFolder(const Options& options) {
    const std::string subject = "Volumes folder";
    std::string error;
    const auto folder =
        host::chooseVolumesFolder(options.volumes, "/Volumes", host::homeFolder(), &error);
    if (!folder) {
        return {Kind::Problem, subject, error, "choose another one with --volumes DIR"};
    }
    return {Kind::Good, subject, "volumes appear in " + *folder, {}};
}

Finding judgeSharing() {
    const bool may = volume::mayAdmitOthers(::geteuid() == 0, volume::fuseConfigurationFiles());
    return {may ? Kind::Good : Kind::Note, "Other users",
            may ? "may be let into volumes" : "cannot be let into volumes",
            may ? "" : "where they should be, put user_allow_other into /etc/fuse.conf"};
}

/// The devices as a running program knows them, else as they show themselves now.
std::vector<control::DeviceView> findDevices(const Options& options, bool canAsk,
                                             std::vector<Finding>& findings, bool* isServed) {
    const std::string folder = host::runtimeFolder();
    const std::string subject = "Quillbox";
    *isServed = false;
    if (folder.empty()) {
        findings.push_back({Kind::Problem, subject, "there is no private folder for its socket",
                            "give this user an XDG_RUNTIME_DIR of mode 0700"});
    } else if (const auto running = fittingInstances(options, folder); running.size() == 1) {
        const auto result =
            control::call(running[0], {control::kStates, false, {}}, kProgramPatience);
        if (result.kind == control::CallResult::Kind::Answered) {
            findings.push_back(
                {Kind::Good, subject, "runs as process " + std::to_string(running[0].process), {}});
            *isServed = true;
            return control::devicesFromStates(result.answer.output);
        }
        findings.push_back(
            {Kind::Problem, subject, result.error,
             "end process " + std::to_string(running[0].process) + " and start Quillbox anew"});
        return {};
    } else {
        findings.push_back(
            {Kind::Note, subject, running.empty() ? "is not running" : "runs more than once",
             running.empty() ? "start it: quillbox" : "name one: --preferences FILE"});
    }
    return canAsk ? surveyDevices(kSurveyPatience) : std::vector<control::DeviceView>();
}

}  // namespace

int runDoctor(const Options& options) {
    const auto probe = probeMultiplexer(kMultiplexerPatience);
    const bool answers = probe.health == MultiplexerProbe::Health::Answers;
    std::vector<Finding> findings = control::checkFuse(control::FusePlaces::ofThisSystem());
    findings.push_back(judgeVolumesFolder(options));
    findings.push_back(judgeSharing());
    findings.push_back(judge(probe));
    for (auto& each : libraryFindings()) {
        findings.push_back(std::move(each));
    }
    bool isServed = false;
    const auto devices = findDevices(options, answers, findings, &isServed);
    for (const auto& each : devices) {
        findings.push_back(control::judgeDevice(each, isServed));
    }
    if (devices.empty() && answers) {
        findings.push_back({Kind::Note, "Devices", "none is attached",
                            "plug one in, unlock it, and tap Trust when it asks"});
    }
    std::cout << (options.json ? control::findingsAsJson(findings, devices)
                               : control::findingsAsText(findings))
              << std::flush;
    return control::hasProblem(findings) ? control::kCouldNot : control::kDone;
}

}  // namespace quillbox::app
