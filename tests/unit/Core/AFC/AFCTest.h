// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/AFC/AFCDevice.h"
#include "Core/AFC/AFCFactory.h"
#include "Core/AFC/NSException.h"
#include "Fakes/World.h"

#include <memory>
#include <string>

namespace quillbox::fakes {

/// What an operation threw, as "NAME: REASON"; "nothing" when it threw nothing.
template <typename Work>
std::string thrownBy(Work work) {
    try {
        work();
    } catch (const NSException& exception) {
        EXPECT_EQ(exception.what(), exception.reason());
        return exception.name() + ": " + exception.reason();
    }
    return "nothing";
}

/// The object layer on its own: nothing of the session or the volumes is used.
class AFCTest : public ::testing::Test {
protected:
    AFCTest() {
        AFCFactory::setPlatform(platform);
        world.device.record.deviceID = 7;
        world.device.record.productID = 0x12A8;
        world.device.record.serialNumber = "SERIAL1";
        world.afc.addDirectory("Media", "/DCIM");
    }

    ~AFCTest() override {
        AFCFactory::resetFactory();
        EXPECT_EQ(world.afc.violations(), Texts{});
    }

    std::shared_ptr<AFCDeviceRef> ref(am_device& device) {
        return std::make_shared<AFCDeviceRef>(platform, &device);
    }

    /// An open device with nothing recorded yet.
    std::shared_ptr<AFCDevice> open() {
        auto device = AFCDevice::initWithRef(ref(world.device));
        EXPECT_NE(device, nullptr);
        world.calls.take();
        return device;
    }

    std::string content(const std::string& path) { return world.afc.content("Media", path); }

    static AFCData bytes(const std::string& text) { return {text.begin(), text.end()}; }

    static std::optional<std::string> text(const std::optional<AFCData>& data) {
        return data ? std::optional<std::string>({data->begin(), data->end()}) : std::nullopt;
    }

    World world;
    AFCPlatform platform{world.devices, world.afc, world.notifications, world.log};
};

}  // namespace quillbox::fakes
