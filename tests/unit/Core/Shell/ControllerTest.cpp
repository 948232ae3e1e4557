// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Shell/PodController.h"

#include "Core/Volumes/iPodDevice.h"
#include "Fakes/World.h"

#include <algorithm>

namespace quillbox::fakes {
namespace {

class ControllerTest : public CoreTest {
protected:
    /// Whether a call came before another, both exactly once.
    static bool isBefore(const Texts& calls, const std::string& first, const std::string& second) {
        const auto a = std::find(calls.begin(), calls.end(), first);
        const auto b = std::find(calls.begin(), calls.end(), second);
        return std::count(calls.begin(), calls.end(), first) == 1 &&
               std::count(calls.begin(), calls.end(), second) == 1 && a < b;
    }

    /// Chooses a fixed item as the user does.
    void choose(const std::string& title) {
        const auto item = controller.topMenu()->itemWithTitle(title);
        ASSERT_NE(item, nullptr) << title;
        item->perform();
    }

    PodController controller;
    std::shared_ptr<FakeStatusItem> statusItem = world.statusBar.item;
    const std::string subscription = "AMDeviceNotificationSubscribe 0 0 null";
};

TEST_F(ControllerTest, ThreeFixedItemsStandAboveTheDevicesAndTheOthersBelow) {
    const auto& items = controller.topMenu()->items();
    Texts titles;
    for (const auto& item : items) {
        titles.push_back(item->isSeparator() ? "-" : item->title());
    }
    EXPECT_EQ(titles, (Texts{"About Quillbox", "Preferences…", "-", "No iPhones Connected...", "-",
                             "Welcome…", "Help", "Quit"}));
    EXPECT_FALSE(controller.topMenu()->autoenablesItems());
    EXPECT_FALSE(items.at(3)->isEnabled());
    for (const std::size_t index : {0, 1, 5, 6, 7}) {
        EXPECT_TRUE(items.at(index)->isEnabled());
        EXPECT_EQ(items.at(index)->target(), &controller);
    }
}

TEST_F(ControllerTest, ADeviceTakesThePlaceAtTheThirdIndexAndGivesItBack) {
    controller.awakeFromNib();
    world.devices.announce(&world.device, 1);
    const auto& items = controller.topMenu()->items();
    EXPECT_EQ(items.at(3)->title(), "Blue Phone");
    EXPECT_TRUE(items.at(4)->isSeparator());
    world.devices.announce(&world.device, 2);
    EXPECT_EQ(items.at(3)->title(), "No iPhones Connected...");
    EXPECT_EQ(items.size(), 8U);
}

TEST_F(ControllerTest, StartingWritesDefaultsThenShowsTheItemThenListens) {
    controller.awakeFromNib();
    const Texts calls = world.calls.take();
    EXPECT_EQ(calls.front(), "setObject isAfterFirstRun = 1");
    EXPECT_TRUE(isBefore(calls, "synchronize", "makeStatusItem"));
    EXPECT_TRUE(isBefore(calls, "makeStatusItem", subscription));
    EXPECT_EQ(calls.back(), subscription);
    EXPECT_EQ(CommonData::sharedInstance().topMenu(), controller.topMenu());
    EXPECT_EQ(CommonData::sharedInstance().statusItem(), statusItem);
    EXPECT_TRUE(isMountLastPoint_);
}

TEST_F(ControllerTest, TheStatusItemIsUntitledOfVariableLengthAndShowsTheTopMenu) {
    controller.awakeFromNib();
    ASSERT_EQ(world.statusBar.made.size(), 1U);
    const auto& settings = world.statusBar.made.front();
    EXPECT_EQ(settings.length, -1);
    EXPECT_EQ(settings.title, "");
    EXPECT_EQ(settings.image.resourceName, "16x16off");
    EXPECT_TRUE(settings.highlightMode);
    EXPECT_TRUE(settings.isEnabled);
    EXPECT_EQ(settings.menu, controller.topMenu());
    EXPECT_EQ(statusItem->images, (Texts{"16x16off"}));
}

TEST_F(ControllerTest, TheWelcomeWindowComesBeforeTheListener) {
    controller.awakeFromNib();  // a first run wants it
    EXPECT_TRUE(world.interfaceFiles.file("Welcome").window().isVisible());
    const Texts calls = world.calls.take();
    EXPECT_TRUE(isBefore(calls, "makeStatusItem", "Welcome showWindow"));
    EXPECT_TRUE(isBefore(calls, "Welcome showWindow", subscription));
}

TEST_F(ControllerTest, WithoutTheSettingOnlyTheStatusItemIsShown) {
    world.preferences.setObject("isAfterFirstRun", true);
    world.preferences.setObject("showWelcomeScreenOnStart", false);
    controller.awakeFromNib();
    EXPECT_EQ(world.calls.count("loadNibNamed"), 0U);
    EXPECT_EQ(world.calls.count("makeStatusItem"), 1U);
    EXPECT_EQ(world.calls.count(subscription), 1U);
}

TEST_F(ControllerTest, WithoutADisplayItStartsWithoutAStatusItem) {
    world.statusBar.item = nullptr;
    controller.awakeFromNib();
    EXPECT_EQ(CommonData::sharedInstance().statusItem(), nullptr);
    world.devices.announce(&world.device, 1);
    world.fileSystems.finishMount(world.fileSystems.last());
    EXPECT_EQ(CommonData::sharedInstance().md_connectedDevices()->size(), 1U);
}

TEST_F(ControllerTest, AfterTheLaunchEarlierCrashesAreAskedForOnce) {
    controller.awakeFromNib();
    EXPECT_EQ(world.calls.count("checkForNewCrashes"), 0U);
    controller.applicationDidFinishLaunching();
    EXPECT_EQ(world.calls.count("checkForNewCrashes"), 1U);
}

TEST_F(ControllerTest, ThePreferencesItemShowsThePreferences) {
    choose("Preferences…");
    EXPECT_TRUE(world.interfaceFiles.file("Preferences").window().isVisible());
    EXPECT_EQ(world.log.take(),
              (Texts{"showPreferencesController:", "sharedInstance", "showPreferences"}));
}

TEST_F(ControllerTest, TheAboutItemAndTheWelcomeItemShowTheirWindows) {
    choose("About Quillbox");
    choose("Welcome…");
    EXPECT_TRUE(world.interfaceFiles.file("AboutThisApp").window().isVisible());
    EXPECT_TRUE(world.interfaceFiles.file("Welcome").window().isVisible());
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(ControllerTest, HelpOpensTheBuiltInAddressOrTheStoredOne) {
    choose("Help");
    EXPECT_EQ(world.workspace.addresses, Texts{});
    EXPECT_EQ(world.log.take(), (Texts{"No address of a help page is known."}));
    world.bundle.information["HelpAddress"] = "https://help.example/";
    choose("Help");
    world.preferences.setObject("helpAddress", "https://here.example/");
    choose("Help");
    EXPECT_EQ(world.workspace.addresses, (Texts{"https://help.example/", "https://here.example/"}));
}

TEST_F(ControllerTest, QuitAsksTheApplicationToTerminate) {
    choose("Quit");
    EXPECT_EQ(world.calls.take(), (Texts{"terminate"}));
}

TEST_F(ControllerTest, TheLastWindowDoesNotEndTheProgram) {
    EXPECT_FALSE(PodController::applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(ControllerTest, ADevicesInfoItemOpensTheInformationWindowAndItsDepartureClosesIt) {
    controller.awakeFromNib();
    world.devices.announce(&world.device, 1);
    world.fileSystems.finishMount(world.fileSystems.last());
    const auto& device = CommonData::sharedInstance().md_connectedDevices()->at("SERIAL1");
    device->submi_aboutThisDevice()->perform();
    auto& file = world.interfaceFiles.file("AboutThisDevice");
    EXPECT_TRUE(file.window().isVisible());
    EXPECT_EQ(file.textField("tf_deviceName").value, "Blue Phone");
    world.devices.announce(&world.device, 2);
    EXPECT_FALSE(file.window().isVisible());
}

TEST_F(ControllerTest, AnItemOfAMenuThatOutlivesTheControllerDoesNothing) {
    std::shared_ptr<Menu> menu;
    {
        const PodController other;
        menu = other.topMenu();
    }
    for (const auto& item : menu->items()) {
        item->perform();
    }
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(ControllerTest, TheEndOfTheControllerTakesTheWindowsWithIt) {
    {
        PodController other;
        other.showPreferencesController(nullptr);
        other.showAboutThisApp(nullptr);
    }
    EXPECT_EQ(CommonData::sharedInstance().deviceInformationWindow(), nullptr);
    world.log.take();
    controller.showPreferencesController(nullptr);  // a new one
    EXPECT_TRUE(world.log.contains("sharedInstance"));
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
