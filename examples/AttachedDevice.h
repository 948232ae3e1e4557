// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/AFC/AFCDevice.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::examples {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kBadUsage = 2;

/// Which device a program works on.
struct DeviceChoice {
    std::string serialNumber;           ///< empty: the first that is there
    std::chrono::seconds patience{10};  ///< how long it is waited for
};

/// Waits for the device, opens its media area and works on it, on a main loop of its own. Answers
/// what the work answers, or `kFailed` with one line on standard error.
int withDevice(const DeviceChoice& choice,
               const std::function<int(const std::shared_ptr<AFCDevice>&)>& work);

/// How every program begins: works on the words of its command line, or prints the usage where they
/// ask for it. Answers the exit status.
int withWords(int argc, char** argv, const char* usage,
              const std::function<int(std::vector<std::string>& words)>& work);

/// One line on standard error, fit for a terminal.
int complain(const std::string& what, int status = kFailed);

/// Takes the options that all programs share ("--device SERIAL", "--wait SECONDS") out of the
/// words. None, after a complaint, where one is wrong.
std::optional<DeviceChoice> takeDeviceOptions(std::vector<std::string>& words);

/// Takes "NAME VALUE" or "NAME=VALUE" out of the words: false, after a complaint, where the value
/// is missing. `value` stays empty without the option.
bool takeOption(std::vector<std::string>& words, const std::string& name,
                std::optional<std::string>& value);

/// A decimal number from 0 to `most`, none for any other text.
std::optional<unsigned> number(const std::string& text, unsigned most);

}  // namespace quillbox::examples
