// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Calling.h"

#include <cstddef>
#include <initializer_list>
#include <strings.h>

namespace quillbox::control {

namespace {

/// The only one of which a test holds; with `count` of how many it did.
template <typename Item, typename Test>
const Item* only(const std::vector<Item>& items, const Test& test, std::size_t* count) {
    const Item* found = nullptr;
    *count = 0;
    for (const auto& each : items) {
        if (test(each)) {
            found = &each;
            ++*count;
        }
    }
    return *count == 1 ? found : nullptr;
}

/// What is said where a word does not mean one item.
struct Complaints {
    std::string none;
    const char* kind;    ///< what several are, in the plural
    const char* remedy;  ///< how else one of several is called
};

/// The item that a word means: the only one with it under the first key under which any has it.
template <typename Item>
const Item* named(const std::vector<Item>& items, std::initializer_list<std::string Item::*> keys,
                  const std::string& word, const Complaints& complaints, std::string* problem) {
    for (const auto key : keys) {
        std::size_t count = 0;
        if (const auto* item = only(
                items, [&](const Item& each) { return each.*key == word; }, &count)) {
            return item;
        }
        if (count > 1) {
            *problem = std::to_string(count) + " " + complaints.kind + " are called " + word +
                       ": " + complaints.remedy;
            return nullptr;
        }
    }
    *problem = complaints.none;
    return nullptr;
}

bool isSameWord(const std::string& a, const std::string& b) {
    return ::strcasecmp(a.c_str(), b.c_str()) == 0;
}

}  // namespace

const DeviceView* findDevice(const std::vector<DeviceView>& devices, const std::string& word,
                             std::string* problem) {
    return named(devices,
                 {&DeviceView::uniqueDeviceID, &DeviceView::serialNumber, &DeviceView::name}, word,
                 {"no device " + word + " is attached", "devices",
                  "give the serial number or the identifier"},
                 problem);
}

const RootView* findRoot(const std::vector<RootView>& roots, const std::string& word,
                         std::string* problem) {
    std::size_t count = 0;
    const auto isPlain = [](const RootView& each) {
        return each.identifier == "Root" || each.identifier == "Media";
    };
    if (const auto* root = only(
            roots,
            [&](const RootView& each) {
                return isPlain(each) && isSameWord(each.identifier, word);
            },
            &count)) {
        return root;
    }
    return named(
        roots, {&RootView::identifier, &RootView::name}, word,
        {"the device offers no root " + word, "applications", "give the bundle identifier"},
        problem);
}

std::string callName(const DeviceView& device) {
    if (!device.name.empty()) {
        return device.name;
    }
    return "the device " +
           (device.serialNumber.empty() ? device.uniqueDeviceID : device.serialNumber);
}

}  // namespace quillbox::control
