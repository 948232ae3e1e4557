// SPDX-License-Identifier: GPL-3.0-or-later
#include "AttachedDevice.h"

#include "Core/AFC/AFCFactory.h"
#include "Core/AFC/NSException.h"
#include "Linux/Device/DeviceLibrary.h"
#include "Linux/Host/MainLoop.h"
#include "Linux/Host/NotificationHub.h"
#include "Linux/Host/Signals.h"
#include "Linux/Host/SystemLog.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <utility>

namespace quillbox::examples {

namespace {

/// Takes the first device that fits and lets the loop work on it.
class FirstFit final : public AFCFactoryDelegate {
public:
    using Work = std::function<int(const std::shared_ptr<AFCDevice>&)>;

    FirstFit(host::MainLoop& loop, std::string serialNumber, Work work)
        : loop_(loop), serialNumber_(std::move(serialNumber)), work_(std::move(work)) {}

    void AFCDeviceWasConnected(const std::shared_ptr<AFCDeviceRef>& device) override {
        if (chosen_ || (!serialNumber_.empty() && device->serialNumber() != serialNumber_)) {
            return;
        }
        chosen_ = device;
        loop_.post([this] {
            status_ = serve();
            loop_.quit();
        });
    }

    bool isServed() const { return chosen_ != nullptr; }

    int status() const { return status_; }

private:
    int serve() {
        try {
            const auto device = AFCDevice::initWithRef(chosen_);
            return device ? work_(device) : complain("the device offers no files");
        } catch (const NSException& exception) {
            return complain(exception.reason().empty() ? "the device refused" : exception.reason());
        }
    }

    host::MainLoop& loop_;
    const std::string serialNumber_;
    const Work work_;
    std::shared_ptr<AFCDeviceRef> chosen_;
    int status_ = kFailed;
};

}  // namespace

int withWords(int argc, char** argv, const char* usage,
              const std::function<int(std::vector<std::string>& words)>& work) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (std::find(words.begin(), words.end(), "--help") != words.end()) {
        std::cout << usage;
        return kDone;
    }
    return work(words);
}

int complain(const std::string& what, int status) {
    std::cerr << host::escapedForLog(what) << "\n";
    return status;
}

int withDevice(const DeviceChoice& choice,
               const std::function<int(const std::shared_ptr<AFCDevice>&)>& work) {
    const host::Signals signals;
    host::SystemLog log(LogLevel::Warning, 2, false);
    host::MainLoop loop;
    host::NotificationHub notifications;
    DeviceLibrary library(loop, log);
    const AFCPlatform platform{library.devices(), library.afc(), notifications, log};
    const auto delegate = std::make_shared<FirstFit>(loop, choice.serialNumber, work);
    AFCFactory::setPlatform(platform);
    AFCFactory::factory().setDelegate(delegate);
    loop.addTimer(choice.patience, [&] {
        if (!delegate->isServed()) {
            loop.quit();
        }
    });
    const int signal = loop.run();
    library.stop();
    AFCFactory::resetFactory();
    if (signal != 0) {
        return complain("interrupted");
    }
    return delegate->isServed() ? delegate->status()
                                : complain("no such device is attached and trusted");
}

bool takeOption(std::vector<std::string>& words, const std::string& name,
                std::optional<std::string>& value) {
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (word->starts_with(name + "=")) {
            value = word->substr(name.size() + 1);
            words.erase(word);
        } else if (*word == name) {
            if (word + 1 == words.end()) {
                complain("the option " + name + " needs a value", kBadUsage);
                return false;
            }
            value = *(word + 1);
            words.erase(word, word + 2);
        } else {
            continue;
        }
        if (value->empty()) {
            complain("the option " + name + " needs a value", kBadUsage);
            return false;
        }
        return true;
    }
    return true;
}

std::optional<unsigned> number(const std::string& text, unsigned most) {
    unsigned value = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value);
    return read.ec == std::errc() && read.ptr == end && value <= most ? std::optional(value)
                                                                      : std::nullopt;
}

std::optional<DeviceChoice> takeDeviceOptions(std::vector<std::string>& words) {
    constexpr unsigned kLongestWait = 3600;
    DeviceChoice choice;
    std::optional<std::string> serialNumber;
    std::optional<std::string> wait;
    if (!takeOption(words, "--device", serialNumber) || !takeOption(words, "--wait", wait)) {
        return std::nullopt;
    }
    choice.serialNumber = serialNumber.value_or("");
    if (wait) {
        const auto seconds = number(*wait, kLongestWait);
        if (!seconds) {
            complain("--wait takes seconds, 0 to 3600", kBadUsage);
            return std::nullopt;
        }
        choice.patience = std::chrono::seconds(*seconds);
    }
    return choice;
}

}  // namespace quillbox::examples
