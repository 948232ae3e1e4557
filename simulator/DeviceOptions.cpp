// SPDX-License-Identifier: GPL-3.0-or-later
#include "DeviceOptions.h"

namespace quillbox::simulator {

const std::set<std::string>& deviceValueOptions() {
    static const std::set<std::string> kNames{"--name",     "--serial", "--class",
                                              "--type",     "--model",  "--version",
                                              "--capacity", "--media",  "--longest-read"};
    return kNames;
}

const std::set<std::string>& deviceSwitches() {
    static const std::set<std::string> kNames{"--no-tls", "--no-afc2",   "--refuse-containers",
                                              "--sample", "--untrusted", "--detached"};
    return kNames;
}

void applyDeviceOptions(const Arguments& arguments, NewDevice& device) {
    DeviceDescription& description = device.description;
    const auto take = [&](const char* option, std::string& target) {
        if (const auto value = arguments.value(option)) {
            target = *value;
        }
    };
    take("--name", description.name);
    take("--serial", description.serial);
    take("--class", description.deviceClass);
    take("--type", description.productType);
    take("--model", description.modelNumber);
    take("--version", description.productVersion);
    if (const auto capacity = arguments.number("--capacity")) {
        description.totalBytes = *capacity;
    }
    if (const auto longest = arguments.number("--longest-read")) {
        description.longestRead = *longest;
    }
    if (const auto media = arguments.value("--media")) {
        if (media->empty()) {
            throw UsageError{"--media needs a folder"};
        }
        description.media = std::filesystem::absolute(*media);
    }
    description.tls = description.tls && !arguments.has("--no-tls");
    description.wholeFileSystem = description.wholeFileSystem && !arguments.has("--no-afc2");
    description.refuseContainers =
        description.refuseContainers || arguments.has("--refuse-containers");
    device.sample = device.sample || arguments.has("--sample");
    device.trusted = device.trusted && !arguments.has("--untrusted");
    device.attached = device.attached && !arguments.has("--detached");
}

const char* deviceOptionsHelp() {
    return "  --name TEXT          the device's name\n"
           "  --serial TEXT        its serial number\n"
           "  --class TEXT         its class (iPhone, iPad ...); only an iPhone has a telephone\n"
           "  --type TEXT          its product type (iPhone14,5)\n"
           "  --model TEXT         its model number\n"
           "  --version TEXT       its system's version\n"
           "  --capacity BYTES     size of its storage\n"
           "  --longest-read BYTES no answer to a read is longer, though the file goes on\n"
           "  --media FOLDER       this folder is its media area; nothing is written there except\n"
           "                       what clients of the device write\n"
           "  --sample             sample applications and, without --media, sample content\n"
           "  --no-tls             sessions and services without TLS\n"
           "  --no-afc2            no service for the whole file system\n"
           "  --refuse-containers  whole containers only of applications signed by a developer\n"
           "  --untrusted          not paired with this computer\n"
           "  --detached           not plugged in yet\n";
}

}  // namespace quillbox::simulator
