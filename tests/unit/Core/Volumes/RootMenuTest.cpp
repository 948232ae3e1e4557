// SPDX-License-Identifier: GPL-3.0-or-later
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

/// A device with two applications: "Atlas" (100) and "Books" (101).
class RootMenuTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        World::addApplication(world.device, "org.example.books", "Books");
        World::addApplication(world.device, "org.example.atlas", "Atlas");
        isMountLastPoint_ = true;
    }

    void remember(const std::string& root) {
        world.preferences.setObject("UDID1",
                                    PropertyDictionary{{"lastMountPoint_appBundle", root}});
    }

    std::shared_ptr<iPodDevice> attachJailbroken() {
        world.device.services.insert("com.apple.afc2");
        return attach(world.device, true);
    }

    /// What the log holds from the building of the root submenu on.
    Texts logOfRoots() {
        Texts lines = world.log.take();
        const auto start =
            std::find(lines.begin(), lines.end(), "updateChangeConnectionRootMenuItem");
        return Texts(start, lines.end());
    }
};

TEST_F(RootMenuTest, ApplicationsComeFirstThenMediaWhichIsSelected) {
    const auto device = attach(world.device);
    EXPECT_EQ(roots(*device), (Texts{"Atlas 100", "Books 101", "-", "Media 11 *"}));
    EXPECT_EQ(device->last_selectMenuItem(), root(*device, kRootTagMedia));
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Media");
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "Folder");
    EXPECT_EQ(logOfRoots(), (Texts{"updateChangeConnectionRootMenuItem", "kConnectionRoot_Media"}));
}

TEST_F(RootMenuTest, ADeviceThatOffersRootHasItBeforeMediaAndSelected) {
    const auto device = attachJailbroken();
    EXPECT_EQ(roots(*device), (Texts{"Atlas 100", "Books 101", "-", "Root 10 *", "Media 11"}));
    EXPECT_EQ(device->last_selectMenuItem(), root(*device, kRootTagRoot));
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Root");
    EXPECT_EQ(logOfRoots(), (Texts{"updateChangeConnectionRootMenuItem", "isJailbreaked",
                                   "isJailbreaked", "kConnectionRoot_Root"}));
}

TEST_F(RootMenuTest, ARememberedMediaIsNotSelectedOnADeviceThatOffersRoot) {
    remember("com.apple.afc");
    const auto device = attachJailbroken();
    EXPECT_EQ(roots(*device), (Texts{"Atlas 100", "Books 101", "-", "Root 10", "Media 11"}));
    EXPECT_EQ(device->last_selectMenuItem(), nullptr);
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Root");
    EXPECT_EQ(device->mountDiskName(), "Blue Phone");
    EXPECT_EQ(device->iPhoneInterface()->currentRootTag(), kRootTagMedia);
}

TEST_F(RootMenuTest, WithoutApplicationsThereIsNoSeparator) {
    world.device.applications.clear();
    EXPECT_EQ(roots(*attach(world.device)), (Texts{"Media 11 *"}));
    EXPECT_EQ(roots(*attachJailbroken()), (Texts{"Root 10 *", "Media 11"}));
}

TEST_F(RootMenuTest, OnlyApplicationsThatShareFilesAreListedWhereThatIsWanted) {
    World::addApplication(world.device, "org.example.shut", "Shut", false);
    isOnlyShowFileSharingApp_ = true;
    EXPECT_EQ(roots(*attach(world.device)), (Texts{"Atlas 100", "Books 101", "-", "Media 11 *"}));
}

TEST_F(RootMenuTest, AnApplicationWithoutNameIsTitledByTheLastPartOfItsIdentifier) {
    const auto device = attach(world.device);
    device->iPhoneInterface()->setFileShareAppBundlesArray(
        AppCatalogue{{{"ID", "org.example.atlas"}}, {{"ID", "plain"}}, {}});
    device->updateChangeConnectionRootMenuItem();
    EXPECT_EQ(roots(*device), (Texts{"atlas 100", "plain 101", " 102", "-", "Media 11 *"}));
}

TEST_F(RootMenuTest, EveryRootIsForTheDeviceAndHasAnAction) {
    const auto device = attachJailbroken();
    const auto& menu = *device->submi_connectionRoot()->submenu();
    EXPECT_EQ(menu.title(), "");
    for (const auto& item : menu.items()) {
        EXPECT_EQ(item->target(), item->isSeparator() ? nullptr : device.get());
        EXPECT_EQ(static_cast<bool>(item->action()), !item->isSeparator());
        EXPECT_TRUE(item->isEnabled());
        EXPECT_EQ(item->keyEquivalent(), "");
    }
}

TEST_F(RootMenuTest, WithoutLoadingFirstApplicationsShowTheCommonPictureAndNothingIsRead) {
    world.afc.addFile("org.example.atlas", "/iTunesArtwork", "picture 600x600");
    const auto device = attach(world.device);
    EXPECT_EQ(pictureOf(*root(*device, 100)), "AppStore");
    EXPECT_EQ(pictureOf(*root(*device, 101)), "AppStore");
    EXPECT_EQ(pictureOf(*root(*device, kRootTagMedia)), "Folder");
    EXPECT_EQ(world.calls.count("AMDeviceStartHouseArrestService"), 0U);
    EXPECT_EQ(world.calls.count("AFCFileRefOpen"), 0U);
}

TEST_F(RootMenuTest, LoadedPicturesAreSmallSquaresWithRoundedCorners) {
    isLoadAppsIconBeforeStart_ = true;
    world.afc.addFile("org.example.atlas", "/iTunesArtwork", "picture 600x300");
    const auto device = attach(world.device);
    const auto atlas = root(*device, 100);
    EXPECT_EQ(pictureOf(*atlas), "picture 600x300");
    EXPECT_EQ(world.images.size(*atlas->image()), (Size{16, 16}));
    EXPECT_NE(FakeImaging::story(*atlas->image()).find("clip (0, 0, 16, 16) 2 2"),
              std::string::npos);
    EXPECT_EQ(pictureOf(*root(*device, 101)), "AppStore");
}

TEST_F(RootMenuTest, ADamagedPictureIsReplacedByTheCommonOne) {
    isLoadAppsIconBeforeStart_ = true;
    world.afc.addFile("org.example.atlas", "/iTunesArtwork", "rubbish");
    world.afc.addFile("org.example.books", "/iTunesArtwork", "");
    const auto device = attach(world.device);
    EXPECT_EQ(pictureOf(*root(*device, 100)), "AppStore");
    EXPECT_EQ(pictureOf(*root(*device, 101)), "AppStore");
}

TEST_F(RootMenuTest, AfterTheLoadingTheSelectedRootIsServedAgain) {
    isLoadAppsIconBeforeStart_ = true;
    world.afc.addFile("Media", "/mark", "here");
    const auto device = attach(world.device);
    EXPECT_EQ(device->iPhoneInterface()->currentRootTag(), kRootTagMedia);
    EXPECT_TRUE(device->iPhoneInterface()->fileExistsOnDevice("/mark"));
    EXPECT_EQ(world.afc.openConnections(), 1U);
}

TEST_F(RootMenuTest, TheLogSaysHowManyPicturesWereReadAndHowLongThatTook) {
    isLoadAppsIconBeforeStart_ = true;
    world.afc.addFile("org.example.atlas", "/iTunesArtwork", "picture 600x300");
    attach(world.device);
    const Texts lines = logOfRoots();
    const auto found = std::find_if(lines.begin(), lines.end(), [](const auto& line) {
        return line.starts_with("Reading the pictures of 2 applications took ");
    });
    ASSERT_NE(found, lines.end());
    EXPECT_TRUE(found->ends_with(" ms: 1 found.")) << *found;
}

TEST_F(RootMenuTest, WithoutApplicationsNothingIsSaidAboutPictures) {
    isLoadAppsIconBeforeStart_ = true;
    world.device.applications.clear();
    attach(world.device);
    for (const auto& line : logOfRoots()) {
        EXPECT_FALSE(line.starts_with("Reading the pictures")) << line;
    }
}

TEST_F(RootMenuTest, ARememberedApplicationIsSelectedAndShowsItsPicture) {
    remember("org.example.books");
    world.afc.addFile("org.example.books", "/iTunesArtwork", "picture 60x60");
    const auto device = attach(world.device);
    EXPECT_EQ(roots(*device), (Texts{"Atlas 100", "Books 101 *", "-", "Media 11"}));
    EXPECT_EQ(device->last_selectMenuItem(), root(*device, 101));
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Books");
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "picture 60x60");
    EXPECT_EQ(pictureOf(*root(*device, 101)), "picture 60x60");
    EXPECT_EQ(logOfRoots(), (Texts{"updateChangeConnectionRootMenuItem", "mount app:1"}));
}

TEST_F(RootMenuTest, ARememberedApplicationWithoutPictureShowsTheCommonOne) {
    remember("org.example.books");
    const auto device = attach(world.device);
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Books");
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "AppStore");
}

TEST_F(RootMenuTest, WithLoadedPicturesARememberedApplicationIsServedAgain) {
    isLoadAppsIconBeforeStart_ = true;
    remember("org.example.atlas");
    world.afc.addFile("org.example.atlas", "/iTunesArtwork", "picture 60x60");
    const auto device = attach(world.device);
    EXPECT_EQ(device->iPhoneInterface()->currentRootTag(), kRootTagApplication);
    EXPECT_TRUE(device->iPhoneInterface()->fileExistsOnDevice("/iTunesArtwork"));
    EXPECT_EQ(pictureOf(*device->submi_selectMenuItem()), "picture 60x60");
}

TEST_F(RootMenuTest, ARememberedApplicationIsSelectedOnlyWhereThatIsWanted) {
    const auto phone = session(world.device);
    phone->setLastMountTag(kRootTagApplication);
    isMountLastPoint_ = false;
    const auto device = iPodDevice::initWithIPhone(phone);
    EXPECT_EQ(roots(*device), (Texts{"Atlas 100", "Books 101", "-", "Media 11"}));
    EXPECT_EQ(device->last_selectMenuItem(), nullptr);
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Media");
}

TEST_F(RootMenuTest, RootAndMediaAreSelectedWhateverTheSettingSays) {
    isMountLastPoint_ = false;
    EXPECT_EQ(attach(world.device)->submi_selectMenuItem()->title(), "Media");
    EXPECT_EQ(roots(*attachJailbroken()).at(3), "Root 10 *");
}

TEST_F(RootMenuTest, WithNothingSelectedTheLoadingEndsWithoutARoot) {
    isLoadAppsIconBeforeStart_ = true;
    remember("com.apple.afc");
    const auto device = attachJailbroken();
    EXPECT_EQ(device->last_selectMenuItem(), nullptr);
    EXPECT_EQ(device->iPhoneInterface()->currentRootTag(), kRootTagNone);
}

TEST_F(RootMenuTest, BuildingAnewDropsTheSubmenuBefore) {
    const auto device = attach(world.device);
    const std::weak_ptr<Menu> before = device->submi_connectionRoot()->submenu();
    device->updateChangeConnectionRootMenuItem();
    EXPECT_TRUE(before.expired());
    EXPECT_EQ(device->last_selectMenuItem(), root(*device, kRootTagMedia));
}

TEST_F(RootMenuTest, WithoutASessionThereAreNoRoots) {
    const auto device = attach(world.device);
    device->setIPhoneInterface(nullptr);
    device->updateChangeConnectionRootMenuItem();
    EXPECT_EQ(roots(*device), Texts{});
    EXPECT_EQ(device->submi_selectMenuItem()->title(), "Media");
}

TEST_F(RootMenuTest, TheRootsAreBuiltBeforeTheDeviceShowsInTheTopMenu) {
    class Watch final : public MenuObserver {
    public:
        void itemInserted(Menu& /*menu*/, MenuItem& item, std::size_t /*index*/) override {
            rootsSeen = item.submenu()->items().at(1)->submenu()->items().size();
        }

        void itemRemoved(Menu& /*menu*/, MenuItem& /*item*/, std::size_t /*index*/) override {}

        void itemChanged(Menu& /*menu*/, MenuItem& /*item*/, MenuItemChange /*change*/) override {}

        std::size_t rootsSeen = 0;
    } watch;

    topMenu->addObserver(watch);
    attach(world.device);
    EXPECT_EQ(watch.rootsSeen, 4U);
    topMenu->removeObserver(watch);
}

TEST_F(RootMenuTest, FiveHundredApplicationsGetTheirTagsInOrder) {
    for (int number = 0; number < 498; ++number) {
        const std::string text = std::to_string(1000 + number);
        World::addApplication(world.device, "org.x" + text, "X" + text);
    }
    const auto device = attach(world.device);
    EXPECT_EQ(device->submi_connectionRoot()->submenu()->items().size(), 502U);
    EXPECT_EQ(root(*device, 599)->title(), "X1497");
}

}  // namespace
}  // namespace quillbox::fakes
