// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Shell/PodController.h"
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class ControllerTest : public CoreTest {
protected:
    PodController controller{[this](const std::shared_ptr<Menu>& menu) {
        world.calls.add("makeStatusItem");
        EXPECT_EQ(CommonData::sharedInstance().topMenu(), menu);
        EXPECT_EQ(CommonData::sharedInstance().statusItem(), nullptr);
        return statusItem;
    }};
    std::shared_ptr<FakeStatusItem> statusItem = std::make_shared<FakeStatusItem>();
};

TEST_F(ControllerTest, TheTopMenuHasThreeFixedItemsAndThePlaceholder) {
    const auto& items = controller.topMenu()->items();
    ASSERT_EQ(items.size(), 4U);
    EXPECT_EQ(items.at(0)->title(), "About Quillbox");
    EXPECT_EQ(items.at(1)->title(), "Preferences…");
    EXPECT_TRUE(items.at(2)->isSeparator());
    EXPECT_EQ(items.at(3)->title(), "No iPhones Connected...");
    for (const auto& item : {items.at(0), items.at(1), items.at(3)}) {
        EXPECT_FALSE(item->isEnabled());
        EXPECT_FALSE(item->action());
    }
}

TEST_F(ControllerTest, StartingWritesDefaultsThenShowsTheItemThenListens) {
    controller.awakeFromNib();
    const Texts calls = world.calls.take();
    EXPECT_EQ(calls.front(), "setObject isAfterFirstRun = 1");
    EXPECT_EQ(Texts(calls.end() - 3, calls.end()),
              (Texts{"synchronize", "makeStatusItem", "AMDeviceNotificationSubscribe 0 0 null"}));
    EXPECT_EQ(statusItem->images, (Texts{"16x16off"}));
    EXPECT_EQ(CommonData::sharedInstance().topMenu(), controller.topMenu());
    EXPECT_EQ(CommonData::sharedInstance().statusItem(), statusItem);
    EXPECT_TRUE(isMountLastPoint_);
}

TEST_F(ControllerTest, WithoutADisplayItStartsWithoutAStatusItem) {
    PodController headless;
    headless.awakeFromNib();
    EXPECT_EQ(CommonData::sharedInstance().statusItem(), nullptr);
    world.devices.announce(&world.device, 1);
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_EQ(CommonData::sharedInstance().md_connectedDevices()->size(), 1U);
}

TEST_F(ControllerTest, TheGlobalReferenceFollowsTheController) {
    EXPECT_EQ(g_GlobalPodController, &controller);
    {
        const PodController other;
        EXPECT_EQ(g_GlobalPodController, &other);
    }
    EXPECT_EQ(g_GlobalPodController, nullptr);
}

TEST_F(ControllerTest, FromArrivalToVolume) {
    controller.awakeFromNib();
    world.device.services.insert("com.apple.afc2");
    world.devices.announce(&world.device, 1);
    auto& volume = world.fileSystems.last();
    world.fileSystems.finishMount(volume);
    EXPECT_EQ(statusItem->images.back(), "16x16on");
    world.afc.addFile("Root", "/a.txt", "hello");
    EXPECT_EQ(volume.mounted->contentsOfDirectoryAtPath("/", nullptr), (Texts{".", "..", "a.txt"}));
}

TEST_F(ControllerTest, QuittingUnmountsEveryDevice) {
    controller.awakeFromNib();
    am_device second{{{"DeviceName", "Red"}, {"SerialNumber", "SERIAL2"}}, {}, {"com.apple.afc"}};
    for (auto* device : {&world.device, &second}) {
        world.devices.announce(device, 1);
        world.fileSystems.finishMount(world.fileSystems.last());
    }
    world.log.take();
    world.notifications.post(
        Notification{std::string(NSApplicationWillTerminateNotification), nullptr, {}});
    controller.applicationWillTerminate();
    for (const auto& volume : world.fileSystems.volumes()) {
        EXPECT_GE(volume->unmounts, 1);
        EXPECT_EQ(volume->mounted, nullptr);
    }
    EXPECT_TRUE(world.log.contains("applicationWillTerminate"));
    EXPECT_EQ(CommonData::sharedInstance().md_connectedDevices()->size(), 2U);
}

TEST_F(ControllerTest, QuittingRemovesTheRecordedTemporaryFolder) {
    controller.applicationWillTerminate();
    EXPECT_EQ(world.calls.count("removeItemAtPath"), 0U);
    world.preferences.setObject("tempDirectory", "/tmp/somewhere");
    controller.applicationWillTerminate();
    EXPECT_EQ(world.calls.take().back(), "removeItemAtPath /tmp/somewhere");
}

TEST_F(ControllerTest, TheLoginItemIsTheProgram) {
    EXPECT_FALSE(PodController::isStartupItem());
    PodController::setStartupItem(true);
    EXPECT_TRUE(PodController::isStartupItem());
    PodController::setStartupItem(false);
    EXPECT_FALSE(PodController::isStartupItem());
}

}  // namespace
}  // namespace quillbox::fakes
