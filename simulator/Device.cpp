// SPDX-License-Identifier: GPL-3.0-or-later
#include "Device.h"

#include "RequestKinds.h"

#include <algorithm>

namespace quillbox::simulator {
namespace {

// What current devices allow before house arrest fails to start.
constexpr std::size_t kMostHouseArrests = 5;
constexpr std::uint16_t kFirstPort = 49152;
// A client that does not read could hold a departure up: its connection is cut after this time.
constexpr std::chrono::milliseconds kPatience{500};

}  // namespace

Device::Device(DeviceDescription description)
    : applications{description.folder / "Apps"},
      description_{std::move(description)},
      name_{description_.name} {}

std::string Device::name() const {
    const std::scoped_lock lock{mutex_};
    return name_;
}

void Device::setName(std::string name) {
    const std::scoped_lock lock{mutex_};
    name_ = std::move(name);
}

std::uint64_t Device::freeBytes() const {
    const std::scoped_lock lock{mutex_};
    return freeBytes_.value_or(description_.totalBytes / 2);
}

void Device::setFreeBytes(std::uint64_t bytes) {
    const std::scoped_lock lock{mutex_};
    freeBytes_ = bytes;
}

std::size_t Device::instances(const std::string& service) const {
    const auto waiting = std::ranges::count_if(
        ports_, [&](const auto& port) { return port.second.name == service; });
    const auto open = std::ranges::count_if(links_, [&](const OpenLink& connection) {
        const Channel& channel = connection.link->channel();
        return channel.service() == service && !channel.closed();
    });
    return static_cast<std::size_t>(waiting + open);
}

std::optional<std::uint16_t> Device::reservePort(StartedService service) {
    const std::scoped_lock lock{mutex_};
    if (service.name == service::kHouseArrest && instances(service.name) >= kMostHouseArrests) {
        return std::nullopt;
    }
    while (ports_.contains(nextPort_)) {
        nextPort_ = nextPort_ == 0xFFFF ? kFirstPort : static_cast<std::uint16_t>(nextPort_ + 1);
    }
    const std::uint16_t port = nextPort_;
    nextPort_ = nextPort_ == 0xFFFF ? kFirstPort : static_cast<std::uint16_t>(nextPort_ + 1);
    // Started and never connected: such services are given up, the oldest numbers first.
    constexpr std::size_t kMostWaiting = 1000;
    if (ports_.size() >= kMostWaiting) {
        ports_.erase(ports_.begin());
    }
    ports_[port] = std::move(service);
    return port;
}

std::optional<StartedService> Device::takePort(std::uint16_t port) {
    const std::scoped_lock lock{mutex_};
    const auto found = ports_.find(port);
    if (found == ports_.end()) {
        return std::nullopt;
    }
    StartedService service = std::move(found->second);
    ports_.erase(found);
    return service;
}

void Device::addLink(std::uint64_t plug, const std::shared_ptr<Link>& opened) {
    const std::scoped_lock lock{mutex_};
    links_.push_back({plug, opened});
}

void Device::removeLink(const std::shared_ptr<Link>& closed) {
    const std::scoped_lock lock{mutex_};
    links_.remove_if([&](const OpenLink& open) { return open.link == closed; });
}

std::size_t Device::endLinks(std::optional<std::uint64_t> plug, std::string_view service) {
    std::vector<std::shared_ptr<Link>> ending;
    {
        const std::scoped_lock lock{mutex_};
        if (service.empty()) {
            ports_.clear();
        }
        for (const OpenLink& open : links_) {
            if ((!plug || open.plug == *plug) &&
                (service.empty() || namesService(service, open.link->channel().service()))) {
                ending.push_back(open.link);
            }
        }
    }
    for (const auto& each : ending) {
        each->end();
    }
    for (const auto& each : ending) {
        each->waitEnded(kPatience);
    }
    return ending.size();
}

void Device::wakeLinks() {
    const std::scoped_lock lock{mutex_};
    for (const OpenLink& open : links_) {
        open.link->wake();
    }
}

std::map<std::string, std::size_t> Device::openServices() const {
    const std::scoped_lock lock{mutex_};
    std::map<std::string, std::size_t> open;
    for (const OpenLink& connection : links_) {
        if (!connection.link->channel().closed()) {
            ++open[connection.link->channel().service()];
        }
    }
    return open;
}

}  // namespace quillbox::simulator
