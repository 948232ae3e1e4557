// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Rendering.h"

#include "Linux/Control/Calling.h"
#include "Linux/Control/Json.h"

#include <algorithm>
#include <cstddef>

namespace quillbox::control {

namespace {

/// Characters of a valid text, as wide as a terminal shows most of them.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char each) {
        return (static_cast<unsigned char>(each) & 0xC0U) != 0x80;
    }));
}

std::optional<std::string> orNull(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

}  // namespace

void writeDevice(JsonWriter& json, const DeviceView& device) {
    json.beginObject();
    json.member("name", device.name);
    json.member("serialNumber", device.serialNumber);
    json.member("uniqueDeviceID", device.uniqueDeviceID);
    json.member("state", device.state);
    json.member("advice", device.advice);
    json.member("mounted", device.isMounted);
    json.member("root", orNull(device.root));
    json.member("rootName", orNull(device.rootName));
    json.member("mountPoint", orNull(device.mountPoint));
    json.endObject();
}

std::string columns(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    std::vector<std::vector<std::string>> cells = rows;
    for (auto& row : cells) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] = printable(row[i]);
            widths[i] = std::max(widths[i], width(row[i]));
        }
    }
    std::string text;
    for (const auto& row : cells) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i] + std::string(widths[i] - width(row[i]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string devicesAsText(const std::vector<DeviceView>& devices) {
    if (devices.empty()) {
        return "No device is attached.\n";
    }
    std::vector<std::vector<std::string>> rows{
        {"NAME", "SERIAL NUMBER", "IDENTIFIER", "STATE", "ROOT", "VOLUME"}};
    const auto orDash = [](const std::string& text) { return text.empty() ? "-" : text; };
    for (const auto& each : devices) {
        rows.push_back({orDash(each.name), orDash(each.serialNumber), each.uniqueDeviceID,
                        each.state, orDash(each.rootName),
                        each.isMounted ? each.mountPoint : "not mounted"});
    }
    return columns(rows);
}

std::string devicesAsJson(const std::vector<DeviceView>& devices) {
    JsonWriter json;
    json.beginArray();
    for (const auto& each : devices) {
        writeDevice(json, each);
    }
    json.endArray();
    return json.text();
}

std::string deviceAsText(const DeviceView& device) {
    const std::string name = printable(callName(device));
    if (!device.isMounted) {
        return name + " is not mounted.\n";
    }
    return name + " (" + printable(device.rootName) + ") is mounted at " +
           printable(device.mountPoint) + ".\n";
}

std::string deviceAsJson(const DeviceView& device) {
    JsonWriter json;
    writeDevice(json, device);
    return json.text();
}

std::string rootsAsText(const std::vector<RootView>& roots) {
    std::vector<std::vector<std::string>> rows;
    for (const auto& each : roots) {
        rows.push_back({each.isCurrent ? "*" : " ", each.name,
                        each.identifier == each.name ? "" : each.identifier});
    }
    return columns(rows);
}

std::string rootsAsJson(const std::vector<RootView>& roots) {
    JsonWriter json;
    json.beginArray();
    for (const auto& each : roots) {
        json.beginObject();
        json.member("root", each.identifier);
        json.member("name", each.name);
        json.member("current", each.isCurrent);
        json.endObject();
    }
    json.endArray();
    return json.text();
}

std::string factsAsText(const std::vector<DeviceFact>& facts) {
    std::vector<std::vector<std::string>> rows;
    for (const auto& each : facts) {
        rows.push_back({each.label + ":", each.value});
    }
    return columns(rows);
}

std::string factsAsJson(const std::vector<DeviceFact>& facts) {
    JsonWriter json;
    json.beginObject();
    for (const auto& each : facts) {
        json.member(each.key, each.value);
    }
    json.endObject();
    return json.text();
}

}  // namespace quillbox::control
