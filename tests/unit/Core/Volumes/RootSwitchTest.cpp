// SPDX-License-Identifier: GPL-3.0-or-later
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

/// A mounted device that offers Root, with two applications: "Atlas" (100) and "Books" (101).
class RootSwitchTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        World::addApplication(world.device, "org.example.books", "Books");
        World::addApplication(world.device, "org.example.atlas", "Atlas");
        world.afc.addFile("org.example.atlas", "/iTunesArtwork", "picture 60x60");
        world.device.services.insert("com.apple.afc2");
        device = attach(world.device, true);
        device->startMount();
        world.fileSystems.finishMount(world.fileSystems.last());
        world.calls.take();
        world.log.take();
    }

    void choose(std::int32_t tag) { root(*device, tag)->perform(); }

    void finishMount() { world.fileSystems.finishMount(world.fileSystems.last()); }

    std::shared_ptr<iPodDevice> device;
};

TEST_F(RootSwitchTest, ChoosingMediaMovesTheMarkAndMountsAnewUnderItsName) {
    choose(kRootTagMedia);
    EXPECT_EQ(roots(*device), (Texts{"Atlas 100", "Books 101", "-", "Root 10", "Media 11 *"}));
    EXPECT_EQ(device->last_selectMenuItem(), root(*device, kRootTagMedia));
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Media");
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "Folder");
    ASSERT_EQ(world.fileSystems.volumes().size(), 2U);
    EXPECT_EQ(world.fileSystems.volumes().front()->unmounts, 1);
    EXPECT_EQ(world.fileSystems.last().path, "/Volumes/Blue Phone (Media)");
    EXPECT_TRUE(device->isUserChanged());
    finishMount();
    EXPECT_EQ(world.workspace.opened, (Texts{"/Volumes/Blue Phone (Media)"}));
    EXPECT_EQ(device->iPhoneInterface()->currentRootTag(), kRootTagMedia);
}

TEST_F(RootSwitchTest, TheStepsHappenInOrder) {
    choose(kRootTagMedia);
    Texts calls = world.calls.take();
    std::erase_if(calls, [](const auto& call) {
        return !call.starts_with("AMDeviceStartService") && !call.starts_with("unmount") &&
               !call.starts_with("mountAtPath");
    });
    EXPECT_EQ(calls,
              (Texts{"AMDeviceStartService com.apple.afc", "unmount /Volumes/Blue Phone (Root)",
                     "mountAtPath /Volumes/Blue Phone (Media)"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"changeConnectionRoot:", "setupConnectionForRoot:11", "stopMount",
                     "Got didUnmount notification. NSNotification {name = "
                     "kGMUserFileSystemDidUnmount}",
                     "startMount"}));
}

TEST_F(RootSwitchTest, TheNextDidMountRemembersTheNewRoot) {
    choose(kRootTagApplication + 1);
    finishMount();
    EXPECT_EQ(
        *find(*world.preferences.dictionaryForKey("UDID1"), "lastMountPoint_appBundle")->string(),
        "org.example.books");
}

TEST_F(RootSwitchTest, ChoosingAnApplicationShowsItsPictureInBothItems) {
    choose(kRootTagApplication);
    EXPECT_EQ(pictureOf(*root(*device, 100)), "picture 60x60");
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "picture 60x60");
    EXPECT_EQ(world.images.size(*root(*device, 100)->image()), (Size{16, 16}));
    EXPECT_EQ(world.fileSystems.last().path, "/Volumes/Blue Phone (Atlas)");
    EXPECT_EQ(device->myOption().front(), "volicon=/private/iTunesArtwork.icns");
}

TEST_F(RootSwitchTest, AnApplicationWithoutPictureKeepsTheOneOfItsItem) {
    choose(kRootTagApplication + 1);
    EXPECT_EQ(pictureOf(*root(*device, 101)), "AppStore");
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "AppStore");
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Books");
}

TEST_F(RootSwitchTest, BackAtTheFirstRootItsPictureComesBack) {
    choose(kRootTagApplication);
    choose(kRootTagRoot);
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "Folder");
    EXPECT_EQ(pictureOf(*root(*device, 100)), "picture 60x60");
    EXPECT_EQ(roots(*device).at(3), "Root 10 *");
    EXPECT_EQ(roots(*device).at(0), "Atlas 100");
}

TEST_F(RootSwitchTest, WithLoadedPicturesNoneIsReadForTheMenu) {
    isLoadAppsIconBeforeStart_ = true;
    isShowAppIconWhenMounted_ = false;
    choose(kRootTagApplication);
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "AppStore");
    EXPECT_EQ(world.calls.count("AFCFileRefOpen"), 0U);
}

TEST_F(RootSwitchTest, ARootThatCannotBeOpenedLeavesMenuAndVolumeAsTheyWere) {
    world.calls.failAlways("AMDeviceStartService", 5);
    choose(kRootTagMedia);
    EXPECT_EQ(roots(*device).at(3), "Root 10 *");
    EXPECT_EQ(device->last_selectMenuItem(), root(*device, kRootTagRoot));
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Root");
    EXPECT_TRUE(device->isMounted());
    EXPECT_FALSE(device->isUserChanged());
    EXPECT_EQ(world.fileSystems.volumes().size(), 1U);
    EXPECT_EQ(world.fileSystems.last().unmounts, 0);
}

TEST_F(RootSwitchTest, ARootThatCannotBeOpenedIsToldInTheLogWithTheWayBack) {
    world.calls.failAlways("AMDeviceStartService", 5);
    choose(kRootTagMedia);
    EXPECT_EQ(world.log.take(),
              (Texts{"changeConnectionRoot:", "setupConnectionForRoot:11",
                     "\"Media\" of Blue Phone could not be opened, and its volume has no "
                     "connection now. To go on, choose a connection root again."}));
    EXPECT_TRUE(world.workspace.alerts.empty());
}

TEST_F(RootSwitchTest, AfterAFailureAnotherRootCanBeChosen) {
    world.calls.fail("AMDeviceStartService", 5);
    choose(kRootTagMedia);
    choose(kRootTagApplication);
    finishMount();
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Atlas");
    EXPECT_TRUE(device->isMounted());
}

TEST_F(RootSwitchTest, ChoosingTheSelectedRootMountsItAnew) {
    choose(kRootTagRoot);
    EXPECT_EQ(world.calls.count("AMDeviceStartService"), 0U);
    EXPECT_EQ(world.fileSystems.volumes().size(), 2U);
    EXPECT_EQ(roots(*device).at(3), "Root 10 *");
}

TEST_F(RootSwitchTest, TheFirstChoiceWithNothingSelectedMarksOneRoot) {
    device->last_selectMenuItem()->setState(false);
    device->setLast_selectMenuItem(nullptr);
    choose(kRootTagMedia);
    EXPECT_EQ(roots(*device), (Texts{"Atlas 100", "Books 101", "-", "Root 10", "Media 11 *"}));
}

TEST_F(RootSwitchTest, AMountPointThatIsStillThereGivesTheNewNameANumber) {
    world.files.paths = {"/Volumes/Blue Phone (Media)"};
    choose(kRootTagMedia);
    EXPECT_EQ(world.fileSystems.last().path, "/Volumes/Blue Phone (Media) 2");
}

TEST_F(RootSwitchTest, AnUnmountedDeviceMountsTheChosenRoot) {
    device->stopMount();
    choose(kRootTagMedia);
    finishMount();
    EXPECT_TRUE(device->isMounted());
    EXPECT_EQ(world.workspace.opened, (Texts{"/Volumes/Blue Phone (Media)"}));
}

TEST_F(RootSwitchTest, ViewsHearOfEveryStepOfASwitch) {
    class Steps final : public MenuObserver {
    public:
        void itemInserted(Menu& /*menu*/, MenuItem& /*item*/, std::size_t /*index*/) override {}

        void itemRemoved(Menu& /*menu*/, MenuItem& /*item*/, std::size_t /*index*/) override {}

        void itemChanged(Menu& /*menu*/, MenuItem& item, MenuItemChange change) override {
            if (change == MenuItemChange::State) {
                seen.push_back(item.title() + (item.state() ? " on" : " off"));
            } else if (change == MenuItemChange::Title) {
                seen.push_back("title " + item.title());
            }
        }

        Texts seen;
    } steps;

    device->submi_connectionRoot()->submenu()->addObserver(steps);
    device->mi_deviceMenu()->submenu()->addObserver(steps);
    choose(kRootTagMedia);
    EXPECT_EQ(steps.seen, (Texts{"Root off", "Media on", "title Media"}));
    device->submi_connectionRoot()->submenu()->removeObserver(steps);
    device->mi_deviceMenu()->submenu()->removeObserver(steps);
}

TEST_F(RootSwitchTest, OnlyApplicationsHaveAPictureOfTheirOwn) {
    device->iPhoneInterface()->setupConnectionForRoot(kRootTagApplication);
    EXPECT_TRUE(device->getAppMenuItemIcon(*root(*device, 100)));
    EXPECT_EQ(device->getAppMenuItemIcon(*root(*device, kRootTagMedia)), std::nullopt);
    // Whatever is served at the moment is what is read.
    EXPECT_TRUE(device->getAppMenuItemIcon(*root(*device, 101)));
    device->iPhoneInterface()->setupConnectionForRoot(kRootTagMedia);
    EXPECT_EQ(device->getAppMenuItemIcon(*root(*device, 100)), std::nullopt);
}

TEST_F(RootSwitchTest, WithoutASessionNothingIsSwitched) {
    device->setIPhoneInterface(nullptr);
    choose(kRootTagMedia);
    EXPECT_EQ(roots(*device).at(3), "Root 10 *");
    EXPECT_EQ(world.fileSystems.volumes().size(), 1U);
    EXPECT_EQ(device->getAppMenuItemIcon(*root(*device, 100)), std::nullopt);
}

TEST_F(RootSwitchTest, TheRootsOfADeviceThatHasLeftDoNothing) {
    const auto item = root(*device, kRootTagMedia);
    iPodDevice::removeConnectedDeviceFromCollection("SERIAL1");
    world.calls.take();
    item->perform();
    EXPECT_EQ(world.calls.count("AMDeviceStartService"), 0U);
}

}  // namespace
}  // namespace quillbox::fakes
