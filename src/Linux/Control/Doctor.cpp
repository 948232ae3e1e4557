// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Doctor.h"

#include "Linux/Control/Calling.h"
#include "Linux/Control/Json.h"
#include "Linux/Control/Rendering.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace quillbox::control {

namespace {

using Kind = Finding::Kind;

constexpr std::size_t kStateFields = 8;

const char* word(Kind kind) {
    switch (kind) {
    case Kind::Good:
        return "good";
    case Kind::Note:
        return "note";
    case Kind::Problem:
        return "problem";
    }
    return "problem";
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = text.find(separator);
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return parts;
}

}  // namespace

Finding judgeDevice(const DeviceView& device, bool isServed) {
    const std::string name = callName(device);
    if (device.state != kTrustedState) {
        return {Kind::Problem, name, device.advice, {}};
    }
    if (device.isMounted) {
        return {Kind::Good, name, device.advice + " and is mounted at " + device.mountPoint, {}};
    }
    if (isServed) {
        return {Kind::Note, name, device.advice + " and is not mounted",
                "mount it from the menu, or with: quillbox mount " + device.uniqueDeviceID};
    }
    return {Kind::Good, name, device.advice, {}};
}

bool hasProblem(const std::vector<Finding>& findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& each) { return each.kind == Kind::Problem; });
}

std::string findingsAsText(const std::vector<Finding>& findings) {
    std::string text;
    std::size_t problems = 0;
    for (const auto& each : findings) {
        problems += each.kind == Kind::Problem ? 1 : 0;
        std::string mark = word(each.kind);
        mark.resize(std::string_view("problem  ").size(), ' ');
        text += mark + printable(each.subject) + ": " + printable(each.text) + ".\n";
        if (!each.help.empty()) {
            text += std::string(mark.size(), ' ') + "-> " + printable(each.help) + ".\n";
        }
    }
    if (problems == 0) {
        return text + "Nothing stands in the way.\n";
    }
    return text +
           (problems == 1 ? "1 problem stands" : std::to_string(problems) + " problems stand") +
           " in the way.\n";
}

std::string findingsAsJson(const std::vector<Finding>& findings,
                           const std::vector<DeviceView>& devices) {
    JsonWriter json;
    json.beginObject();
    json.member("ok", !hasProblem(findings));
    json.key("findings");
    json.beginArray();
    for (const auto& each : findings) {
        json.beginObject();
        json.member("kind", word(each.kind));
        json.member("subject", each.subject);
        json.member("text", each.text);
        json.member("help", each.help.empty() ? std::nullopt : std::optional(each.help));
        json.endObject();
    }
    json.endArray();
    json.key("devices");
    json.beginArray();
    for (const auto& each : devices) {
        writeDevice(json, each);
    }
    json.endArray();
    json.endObject();
    return json.text();
}

std::string statesText(const std::vector<DeviceView>& devices) {
    std::string text;
    for (const auto& each : devices) {
        // No field can hold a tab or a line feed once it is printable.
        for (const auto* field : {&each.name, &each.serialNumber, &each.uniqueDeviceID, &each.state,
                                  &each.advice, &each.root, &each.rootName}) {
            text += printable(*field) + "\t";
        }
        text += printable(each.mountPoint) + "\n";
    }
    return text;
}

std::vector<DeviceView> devicesFromStates(std::string_view text) {
    std::vector<DeviceView> devices;
    for (const auto& line : split(text, '\n')) {
        const auto fields = split(line, '\t');
        if (fields.size() == kStateFields) {
            DeviceView view;
            view.name = fields[0];
            view.serialNumber = fields[1];
            view.uniqueDeviceID = fields[2];
            view.state = fields[3];
            view.advice = fields[4];
            view.root = fields[5];
            view.rootName = fields[6];
            view.mountPoint = fields[7];
            view.isMounted = !view.mountPoint.empty();
            devices.push_back(std::move(view));
        }
    }
    return devices;
}

}  // namespace quillbox::control
