// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/Descriptor.h"

#include <memory>
#include <string>
#include <vector>

namespace quillbox::control {

/// Which running program is meant: for each user one for every multiplexer socket and preference
/// file.
struct InstanceKey {
    std::string multiplexer;  ///< as USBMUXD_SOCKET_ADDRESS says it, a path without its "UNIX:"
    std::string preferences;  ///< path of the preference file
};

/// A running program as its lock file shows it.
struct Instance {
    InstanceKey key;  ///< with all links followed
    int process = 0;
    bool isSimulated = false;  ///< whether its device is its own simulated phone
    std::string socketPath;    ///< where it answers verbs
    std::string lockPath;
};

/// One running program for each key: a locked file in the user's runtime folder, freed by the
/// kernel however the program ends.
class SingleInstance {
public:
    enum class Result { Taken, Running, Failed };

    /// Takes the lock, or says why not: `Running` when another process has it (its process number
    /// in `message`), `Failed` with the reason in `message`.
    Result take(const std::string& runtimeFolder, const InstanceKey& key, bool isSimulated,
                std::string* message);

    /// Where this program, or the one that runs in its place, answers verbs; known after `take`.
    const std::string& socketPath() const { return socketPath_; }

private:
    std::unique_ptr<Descriptor> lock_;
    std::string socketPath_;
};

/// Every program of this user that runs with its lock in the folder.
std::vector<Instance> runningInstances(const std::string& runtimeFolder);
/// Whether the program of this lock file still runs.
bool isRunning(const Instance& instance);

/// What a verb says about the program that it is for. What is not said fits any.
struct InstanceWish {
    bool namesMultiplexer = false;
    bool namesPreferences = false;
    bool isSimulated = false;
    InstanceKey key;  ///< where nothing is said, the program of the usual places goes first
};

/// The programs that fit, the one of the very key alone where it is among them.
std::vector<Instance> choose(std::vector<Instance> running, const InstanceWish& wish);

}  // namespace quillbox::control
