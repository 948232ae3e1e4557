// SPDX-License-Identifier: GPL-3.0-or-later
#include "AFC/AFCTest.h"

#include <stdexcept>

namespace quillbox::fakes {
namespace {

class ArrivalDelegate final : public AFCFactoryDelegate {
public:
    void AFCDeviceWasConnected(const std::shared_ptr<AFCDeviceRef>& device) override {
        arrived.push_back(device);
    }

    std::vector<std::shared_ptr<AFCDeviceRef>> arrived;
};

using FactoryTest = AFCTest;

TEST_F(FactoryTest, ThereIsOneFactoryThatSubscribesOnceWithItselfAsContext) {
    auto& first = AFCFactory::factory();
    EXPECT_EQ(&AFCFactory::factory(), &first);
    EXPECT_EQ(&AFCFactory::init(), &first);
    EXPECT_EQ(world.calls.take(), (Texts{"AMDeviceNotificationSubscribe 0 0 data"}));
}

TEST_F(FactoryTest, ASubscriptionThatFailsRaisesAndLeavesNoFactory) {
    world.calls.fail("AMDeviceNotificationSubscribe", 42);
    EXPECT_EQ(thrownBy([] { AFCFactory::factory(); }),
              "AFCFactory: AMDeviceNotificationSubscribe failed with error 42");
    world.calls.take();
    EXPECT_EQ(thrownBy([] { AFCFactory::factory(); }), "nothing");
    EXPECT_EQ(world.calls.count("AMDeviceNotificationSubscribe"), 1U);
}

TEST_F(FactoryTest, WithoutAPlatformThereIsNoFactory) {
    AFCFactory::resetFactory();
    EXPECT_THROW(AFCFactory::factory(), std::logic_error);
}

TEST_F(FactoryTest, AnArrivalIsToldToTheDelegateWithANewReference) {
    const auto delegate = std::make_shared<ArrivalDelegate>();
    AFCFactory::factory().setDelegate(delegate);
    world.devices.announce(&world.device, 1);
    world.devices.announce(&world.device, 1);
    ASSERT_EQ(delegate->arrived.size(), 2U);
    EXPECT_EQ(delegate->arrived.at(0)->device(), &world.device);
    EXPECT_NE(delegate->arrived.at(0), delegate->arrived.at(1));
    EXPECT_TRUE(world.notifications.posted().empty());
}

TEST_F(FactoryTest, TheFactoryKeepsItsDelegate) {
    std::weak_ptr<ArrivalDelegate> kept;
    {
        const auto delegate = std::make_shared<ArrivalDelegate>();
        kept = delegate;
        AFCFactory::factory().setDelegate(delegate);
    }
    EXPECT_EQ(AFCFactory::factory().delegate(), kept.lock());
    AFCFactory::resetFactory();
    EXPECT_TRUE(kept.expired());
}

TEST_F(FactoryTest, AnArrivalWithoutADelegateOrWithOneThatDoesNotAnswerIsHarmless) {
    AFCFactory::factory();
    world.devices.announce(&world.device, 1);
    AFCFactory::factory().setDelegate(std::make_shared<AFCFactoryDelegate>());
    world.devices.announce(&world.device, 1);
    EXPECT_TRUE(world.notifications.posted().empty());
}

TEST_F(FactoryTest, ADepartureIsPostedWithTheDevicesNumber) {
    AFCFactory::factory();
    world.devices.announce(&world.device, 2);
    ASSERT_EQ(world.notifications.posted().size(), 1U);
    EXPECT_EQ(world.notifications.posted().front().name, "AFC_DeviceWasDisconnected");
    EXPECT_EQ(world.notifications.posted().front().number, 7U);
}

TEST_F(FactoryTest, OtherMessagesAreIgnored) {
    const auto delegate = std::make_shared<ArrivalDelegate>();
    AFCFactory::factory().setDelegate(delegate);
    for (const std::uint32_t message : {0U, 3U, 4294967295U}) {
        world.devices.announce(&world.device, message);
    }
    EXPECT_TRUE(delegate->arrived.empty());
    EXPECT_TRUE(world.notifications.posted().empty());
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(FactoryTest, AReferenceTellsWhatTheRecordHolds) {
    const AFCDeviceRef known(platform, &world.device);
    EXPECT_EQ(known.deviceID(), 7U);
    EXPECT_EQ(known.productID(), 0x12A8U);
    EXPECT_EQ(known.serialNumber(), "SERIAL1");
    const AFCDeviceRef none(platform, nullptr);
    EXPECT_EQ(none.deviceID(), 0U);
    EXPECT_EQ(none.serialNumber(), std::nullopt);
}

}  // namespace
}  // namespace quillbox::fakes
