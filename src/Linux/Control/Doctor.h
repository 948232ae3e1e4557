// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/ProgramControl.h"

#include <string>
#include <string_view>
#include <vector>

namespace quillbox::control {

/// One thing that was looked at on the way from a device to its volume.
struct Finding {
    enum class Kind {
        Good,
        Note,    ///< worth knowing; stands in nobody's way
        Problem  ///< stands between the user and a mounted volume
    };

    Kind kind = Kind::Good;
    std::string subject;  ///< in a word or two
    std::string text;     ///< a sentence without its full stop
    std::string help;     ///< what to do, a sentence without its full stop; may be empty
};

/// Where FUSE is looked for.
struct FusePlaces {
    std::string device = "/dev/fuse";
    std::vector<std::string> folders;  ///< that may hold the program "fusermount3"
    bool isRoot = false;               ///< root mounts without that program
    std::string processStatus = "/proc/self/status";

    /// This system's places, and this user.
    static FusePlaces ofThisSystem();
};

std::vector<Finding> checkFuse(const FusePlaces& places);
/// What a device's state means. `isServed`: by a running program, which would have mounted it.
Finding judgeDevice(const DeviceView& device, bool isServed);

bool hasProblem(const std::vector<Finding>& findings);
std::string findingsAsText(const std::vector<Finding>& findings);
std::string findingsAsJson(const std::vector<Finding>& findings,
                           const std::vector<DeviceView>& devices);

/// The verb by which the doctor asks a running program for its devices, and its answer's text.
inline constexpr const char* kStates = "states";
std::string statesText(const std::vector<DeviceView>& devices);
/// Lines that are no states are left out.
std::vector<DeviceView> devicesFromStates(std::string_view text);

}  // namespace quillbox::control
