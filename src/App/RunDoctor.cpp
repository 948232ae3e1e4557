// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/RunDoctor.h"

#include "App/DeviceSurvey.h"
#include "App/InstanceKey.h"
#include "App/LibraryVersions.h"
#include "Linux/Control/Doctor.h"
#include "Linux/Control/VerbClient.h"
#include "Linux/Device/Multiplexer/MultiplexerProbe.h"
#include "Linux/Host/LocalFiles.h"
#include "Linux/Host/UserFolders.h"
#include "Linux/Volume/MountOptions.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
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

/// The running program that the command line means, with what there is to say about it.
std::optional<control::Instance> findInstance(const Options& options,
                                              std::vector<Finding>& findings) {
    const std::string subject = "Quillbox";
    const std::string folder = host::runtimeFolder();
    if (folder.empty()) {
        findings.push_back({Kind::Problem, subject, "there is no private folder for its socket",
                            "give this user an XDG_RUNTIME_DIR of mode 0700"});
        return std::nullopt;
    }
    const auto running = fittingInstances(options, folder);
    if (running.size() == 1) {
        return running.front();
    }
    findings.push_back({Kind::Note, subject,
                        running.empty() ? "is not running" : "runs more than once",
                        running.empty() ? "start it: quillbox" : "name one: --preferences FILE"});
    return std::nullopt;
}

/// The devices as the running program knows them; none where it does not answer.
std::optional<std::vector<control::DeviceView>> askInstance(const control::Instance& instance,
                                                            std::vector<Finding>& findings) {
    const auto result = control::call(instance, {control::kStates, false, {}}, kProgramPatience);
    const std::string process = "process " + std::to_string(instance.process);
    if (result.kind != control::CallResult::Kind::Answered) {
        findings.push_back({Kind::Problem, "Quillbox", result.error,
                            "end " + process + " and start Quillbox anew"});
        return std::nullopt;
    }
    findings.push_back({Kind::Good, "Quillbox", "runs as " + process, {}});
    return control::devicesFromStates(result.answer.output);
}

/// The multiplexer that the running program uses is the one to be looked at.
void useMultiplexerOf(const control::Instance& instance) {
    const std::string& place = instance.key.multiplexer;
    ::setenv(kMultiplexerVariable, ((place.starts_with('/') ? "UNIX:" : "") + place).c_str(), 1);
}

}  // namespace

int runDoctor(const Options& options) {
    std::vector<Finding> findings = control::checkFuse(control::FusePlaces::ofThisSystem());
    findings.push_back(judgeVolumesFolder(options));
    findings.push_back(judgeSharing());
    for (auto& each : libraryFindings()) {
        findings.push_back(std::move(each));
    }
    const auto instance = findInstance(options, findings);
    if (instance) {
        useMultiplexerOf(*instance);
    }
    const auto probe = probeMultiplexer(kMultiplexerPatience);
    const bool answers = probe.health == MultiplexerProbe::Health::Answers;
    findings.push_back(judge(probe));
    std::vector<control::DeviceView> devices;
    if (instance) {
        devices = askInstance(*instance, findings).value_or(std::move(devices));
    } else if (answers) {
        devices = surveyDevices(kSurveyPatience);
    }
    for (const auto& each : devices) {
        findings.push_back(control::judgeDevice(each, instance.has_value()));
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
