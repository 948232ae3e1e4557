// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/VerbDesk.h"

#include "Linux/Control/Calling.h"
#include "Linux/Control/Doctor.h"
#include "Linux/Control/Rendering.h"
#include "Linux/Control/Verbs.h"

#include <algorithm>
#include <utility>

namespace quillbox::control {

namespace {

constexpr const char* kList = "list";

Answer couldNot(std::string why) {
    return {kCouldNot, {}, std::move(why)};
}

Answer done(std::string output) {
    return {kDone, std::move(output), {}};
}

/// Why the menu does not offer something.
Answer notOffered(const DeviceView& device, const std::string& wish) {
    if (device.state != kTrustedState) {
        return couldNot(callName(device) + ": " + device.advice);
    }
    return couldNot(callName(device) + (device.isMounted || wish == "mounted"
                                            ? " cannot be " + wish + " at this moment"
                                            : std::string(" is not mounted")));
}

}  // namespace

void VerbDesk::perform(const Request& request, const Reply& reply) {
    if (request.verb == kRaise) {
        reply(raise(request.arguments));
        return;
    }
    if (request.verb == kList) {
        const auto devices = program_.devices();
        reply(done(request.json ? devicesAsJson(devices) : devicesAsText(devices)));
        return;
    }
    if (request.verb == kStates) {
        reply(done(statesText(program_.devices())));
        return;
    }
    std::vector<std::string> words{request.verb};
    words.insert(words.end(), request.arguments.begin(), request.arguments.end());
    if (const auto complaint = complaintAbout(words)) {
        reply({kBadUsage, {}, *complaint});
        return;
    }
    if (request.arguments.empty()) {
        reply(couldNot("the running Quillbox does not know " + request.verb));
        return;
    }
    std::string problem;
    const auto devices = program_.devices();
    const auto* device = findDevice(devices, request.arguments.front(), &problem);
    if (device == nullptr) {
        reply(couldNot(problem));
    } else if (request.verb == "mount") {
        mount(*device, request.json, reply);
    } else if (request.verb == "unmount") {
        unmount(*device, request.json, reply);
    } else if (request.verb == "root") {
        root(*device, request, reply);
    } else if (request.verb == "info") {
        if (!device->mayShowInfo) {
            reply(notOffered(*device, "asked for its values"));
            return;
        }
        const auto facts = program_.information(device->uniqueDeviceID);
        reply(done(request.json ? factsAsJson(facts) : factsAsText(facts)));
    } else if (!device->mayReveal) {
        reply(notOffered(*device, "shown"));
    } else {
        program_.reveal(device->uniqueDeviceID);
        reply(deviceAnswer(device->uniqueDeviceID, request.json));
    }
}

bool VerbDesk::onlyLooks(const Request& request) {
    return request.verb == kList || request.verb == kStates;
}

void VerbDesk::mount(const DeviceView& device, bool json, const Reply& reply) {
    if (device.isMounted) {
        reply(deviceAnswer(device.uniqueDeviceID, json));
    } else if (!device.mayMount) {
        reply(notOffered(device, "mounted"));
    } else {
        program_.mount(device.uniqueDeviceID, whenDone(device, json, reply));
    }
}

void VerbDesk::unmount(const DeviceView& device, bool json, const Reply& reply) {
    if (!device.isMounted) {
        reply(deviceAnswer(device.uniqueDeviceID, json));
    } else if (!device.mayUnmount) {
        reply(notOffered(device, "unmounted"));
    } else {
        program_.unmount(device.uniqueDeviceID, whenDone(device, json, reply));
    }
}

void VerbDesk::root(const DeviceView& device, const Request& request, const Reply& reply) {
    // An empty list means that the device has no menu entry.
    const auto roots = program_.roots(device.uniqueDeviceID);
    if (roots.empty()) {
        reply(notOffered(device, "asked for its roots"));
        return;
    }
    if (request.arguments.size() == 1) {
        reply(done(request.json ? rootsAsJson(roots) : rootsAsText(roots)));
        return;
    }
    std::string problem;
    const auto* root = findRoot(roots, request.arguments[1], &problem);
    if (root == nullptr) {
        reply(couldNot(problem));
    } else if (!device.mayChangeRoot) {
        reply(notOffered(device, "switched to another root"));
    } else if (root->isCurrent && device.isMounted) {
        reply(deviceAnswer(device.uniqueDeviceID, request.json));
    } else {
        program_.changeRoot(device.uniqueDeviceID, root->tag,
                            whenDone(device, request.json, reply));
    }
}

ProgramControl::Done VerbDesk::whenDone(const DeviceView& device, bool json, const Reply& reply) {
    return [this, device, json, reply](const std::optional<std::string>& problem) {
        reply(problem ? couldNot(callName(device) + ": " + *problem)
                      : deviceAnswer(device.uniqueDeviceID, json));
    };
}

Answer VerbDesk::deviceAnswer(const std::string& uniqueDeviceID, bool json) {
    for (const auto& each : program_.devices()) {
        if (each.uniqueDeviceID == uniqueDeviceID) {
            return done(json ? deviceAsJson(each) : deviceAsText(each));
        }
    }
    return couldNot("the device has left");
}

Answer VerbDesk::raise(const std::vector<std::string>& options) {
    std::string text = program_.raise() ? "Quillbox is already running and was brought to the front"
                                        : "Quillbox is already running, without a display";
    if (!options.empty() && options != program_.startOptions()) {
        text += "; the options of this start were ignored";
    }
    return done(text + ".\n");
}

}  // namespace quillbox::control
