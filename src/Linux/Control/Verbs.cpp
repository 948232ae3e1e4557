// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Verbs.h"

#include <algorithm>
#include <array>

namespace quillbox::control {

namespace {

constexpr std::array kVerbs{
    Verb{"list", "", "attached devices, their states and volumes", 0, 0},
    Verb{"mount", "DEVICE", "mount the device's volume", 1, 1},
    Verb{"unmount", "DEVICE", "unmount it", 1, 1},
    Verb{"root", "DEVICE [Root|Media|APPLICATION]", "show another root of the device, or list them",
         1, 2},
    Verb{"info", "DEVICE", "what is known about the device", 1, 1},
    Verb{"reveal", "DEVICE", "show the volume in the file manager", 1, 1},
    Verb{"quit", "", "unmount everything and end Quillbox", 0, 0},
    Verb{"doctor", "", "find out why a device does not appear", 0, 0},
};

}  // namespace

std::span<const Verb> verbs() {
    return kVerbs;
}

std::optional<std::string> complaintAbout(const std::vector<std::string>& words) {
    const auto& name = words.front();
    const auto* const verb = std::find_if(kVerbs.begin(), kVerbs.end(),
                                          [&](const Verb& each) { return each.name == name; });
    if (verb == kVerbs.end()) {
        return "unexpected argument " + name;
    }
    const std::size_t count = words.size() - 1;
    if (count < verb->least) {
        return name + " needs a device: its identifier, serial number or name";
    }
    if (count > verb->most) {
        return "unexpected argument " + words[verb->most + 1] + " after " + name;
    }
    if (std::any_of(words.begin(), words.end(), [](const auto& each) { return each.empty(); })) {
        return "an argument of " + name + " is empty";
    }
    return std::nullopt;
}

}  // namespace quillbox::control
