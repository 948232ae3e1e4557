// SPDX-License-Identifier: GPL-3.0-or-later
#include "Simulation.h"

#include "SampleContent.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace quillbox::simulator {
namespace {

std::filesystem::path prepared(const std::filesystem::path& state) {
    std::filesystem::create_directories(state);
    return std::filesystem::canonical(state);
}

std::string systemBuid(const std::filesystem::path& state) {
    const std::filesystem::path file = state / "system-buid";
    std::string buid;
    if (std::ifstream stream{file}; stream && std::getline(stream, buid) && !buid.empty()) {
        return buid;
    }
    buid = makeUuid();
    std::ofstream stream{file};
    stream << buid << '\n';
    if (!stream.flush()) {
        throw std::runtime_error{"cannot write " + file.string()};
    }
    return buid;
}

}  // namespace

bool isDeviceIdentifier(std::string_view udid) {
    constexpr std::size_t kLongest = 64;
    return !udid.empty() && udid.size() <= kLongest &&
           std::ranges::all_of(udid, [](char character) {
               return (character >= 'a' && character <= 'z') ||
                      (character >= 'A' && character <= 'Z') ||
                      (character >= '0' && character <= '9') || character == '-';
           });
}

DeviceDescription numberedDevice(unsigned index) {
    constexpr std::array kColours{"Blue",   "Red",    "Green",  "Yellow",
                                  "Violet", "Silver", "Orange", "Black"};
    DeviceDescription description;
    description.name = std::string{kColours[index % kColours.size()]} + " Phone";
    if (index >= kColours.size()) {
        description.name += " " + std::to_string(index / kColours.size() + 1);
    }
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%032x%08x", 0x51B0U, index + 1);
    description.udid = text.data();
    std::snprintf(text.data(), text.size(), "QB%010u", index + 1);
    description.serial = text.data();
    return description;
}

Simulation::Simulation(std::filesystem::path socket, const std::filesystem::path& state,
                       const std::filesystem::path& keyFile)
    : state_{prepared(state)},
      environment_{KeyPair::loadOrMake(keyFile.empty() ? state_ / "key.pem" : keyFile), {}, {}},
      multiplexer_{environment_, tasks_, std::move(socket), systemBuid(state_)} {}

Simulation::~Simulation() {
    shutDown();
}

std::shared_ptr<Device> Simulation::add(NewDevice wanted) {
    DeviceDescription& description = wanted.description;
    if (!isDeviceIdentifier(description.udid)) {
        throw std::runtime_error{"\"" + description.udid + "\" cannot be a device's identifier"};
    }
    if (find(description.udid)) {
        throw std::runtime_error{"there is a device " + description.udid + " already"};
    }
    description.folder = state_ / description.udid;
    makeRootFolders(description.folder / "Root");
    std::filesystem::create_directories(description.folder / "Apps");
    if (description.media.empty()) {
        description.media = description.folder / "Media";
        if (!std::filesystem::exists(description.media)) {
            std::filesystem::create_directories(description.media);
            if (wanted.sample) {
                makeSampleMedia(description.media);
            }
        }
    } else if (!std::filesystem::is_directory(description.media)) {
        throw std::runtime_error{description.media.string() + " is no folder"};
    }
    auto device = std::make_shared<Device>(description);
    if (wanted.sample) {
        installSampleApplications(device->applications);
    }
    if (wanted.trusted) {
        multiplexer_.pairByItself(*device);
    }
    {
        const std::scoped_lock lock{mutex_};
        devices_.push_back(device);
    }
    if (wanted.attached) {
        multiplexer_.attach(device, {});
    }
    return device;
}

bool Simulation::remove(const std::string& udid) {
    const auto device = find(udid);
    if (!device) {
        return false;
    }
    multiplexer_.detach(*device, Transport::Usb);
    multiplexer_.detach(*device, Transport::Network);
    multiplexer_.forgetRecord(udid);
    const std::scoped_lock lock{mutex_};
    std::erase(devices_, device);
    return true;
}

std::vector<std::shared_ptr<Device>> Simulation::devices() const {
    const std::scoped_lock lock{mutex_};
    return devices_;
}

std::shared_ptr<Device> Simulation::find(const std::string& udid) const {
    const std::scoped_lock lock{mutex_};
    const auto found = std::ranges::find_if(
        devices_, [&](const std::shared_ptr<Device>& device) { return device->udid() == udid; });
    return found == devices_.end() ? nullptr : *found;
}

void Simulation::shutDown() {
    environment_.faults.shutDown();
    multiplexer_.stop(false);
    tasks_.joinAll();
}

}  // namespace quillbox::simulator
