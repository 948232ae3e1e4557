// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/DeviceLibrary.h"

#include "Linux/Device/DeviceHub.h"
#include "Linux/Device/Files/AfcAdapter.h"
#include "Linux/Device/MobileDeviceAdapter.h"
#include "Linux/Device/Multiplexer/MultiplexerListener.h"

#include <utility>

namespace quillbox {

using namespace device;

class DeviceLibrary::Parts {
public:
    Parts(RunLoop& runLoop, Log& log, const DeviceOptions& options)
        : platform{std::make_shared<PlatformLink>(runLoop, log)},
          hub{std::make_shared<DeviceHub>(platform, options)},
          listener{*hub, platform, options},
          devices{hub, [this] { listener.start(); }},
          afc{hub->handles(), hub->workers(),
              [this](AFCConnectionRef connection) { hub->connectionCloses(connection); }} {}

    const std::shared_ptr<PlatformLink> platform;
    const std::shared_ptr<DeviceHub> hub;
    MultiplexerListener listener;
    MobileDeviceAdapter devices;
    AfcAdapter afc;
};

DeviceLibrary::DeviceLibrary(RunLoop& runLoop, Log& log, const DeviceOptions& options)
    : parts_{std::make_unique<Parts>(runLoop, log, options)} {}

DeviceLibrary::~DeviceLibrary() {
    stop();
}

MobileDevice& DeviceLibrary::devices() {
    return parts_->devices;
}

AFC& DeviceLibrary::afc() {
    return parts_->afc;
}

void DeviceLibrary::setConnectionEndObserver(ConnectionEndObserver observer) {
    parts_->hub->setConnectionEnds(std::move(observer));
}

void DeviceLibrary::setTrustObserver(TrustObserver observer) {
    parts_->hub->setTrustObserver(std::move(observer));
}

std::vector<AttachedDevice> DeviceLibrary::attached() const {
    return parts_->hub->attached();
}

std::string DeviceLibrary::label(AMDeviceRef device) {
    if (device == nullptr) {
        return "no device";
    }
    auto name = device->device->knownName();
    return !name.empty() && device->device->knownSerialNumber().empty() ? name
                                                                        : device->device->label();
}

void DeviceLibrary::stop() {
    parts_->listener.stop();
    parts_->hub->stop();
    parts_->platform->close();
}

}  // namespace quillbox
