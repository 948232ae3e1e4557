// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"
#include "Core/Volumes/VolumePath.h"
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

class NamingTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        device = attach(world.device);
    }

    void useCustomName(const std::string& name) {
        isUseCustomizeMountName_ = true;
        world.preferences.setObject("customizeMountName", name);
    }

    /// As if the root with this tag had been chosen.
    void select(std::int32_t tag) {
        auto item = std::make_shared<MenuItem>("chosen");
        item->setTag(tag);
        device->setLast_selectMenuItem(std::move(item));
    }

    std::shared_ptr<iPodDevice> device;
};

TEST_F(NamingTest, TheVolumeCarriesTheDevicesNameAndItsRoot) {
    EXPECT_EQ(device->mountDiskName(), "Blue Phone (Media)");
    EXPECT_EQ(device->currentMountDiskName(), "Blue Phone (Media)");
    select(kRootTagRoot);
    EXPECT_EQ(device->mountDiskName(), "Blue Phone (Root)");
}

TEST_F(NamingTest, AnApplicationsVolumeCarriesTheApplicationsName) {
    World::addApplication(second, "org.b", "Notes");
    World::addApplication(second, "org.a", "Books");
    device = attach(second);
    select(kRootTagApplication);
    EXPECT_EQ(device->mountDiskName(), "Red Phone (Books)");
    select(kRootTagApplication + 1);
    EXPECT_EQ(device->mountDiskName(), "Red Phone (Notes)");
}

TEST_F(NamingTest, AnApplicationWithoutNameShowsThatItHasNone) {
    device->iPhoneInterface()->setFileShareAppBundlesArray(AppCatalogue{{{"ID", "org.a"}}});
    select(kRootTagApplication);
    EXPECT_EQ(device->mountDiskName(), "Blue Phone ((null))");
}

TEST_F(NamingTest, WithoutASelectedRootTheVolumeCarriesTheBareName) {
    for (const std::int32_t tag : {0, 9, 12, 99, -1}) {
        select(tag);
        EXPECT_EQ(device->mountDiskName(), "Blue Phone") << tag;
    }
    device->setLast_selectMenuItem(nullptr);
    EXPECT_EQ(device->mountDiskName(), "Blue Phone");
    EXPECT_EQ(device->currentMountDiskName(), "Blue Phone");
}

TEST_F(NamingTest, AnApplicationBeyondTheListGivesTheBareNameTakenOrNot) {
    world.files.paths = {"/Volumes/Blue Phone"};
    device->mountDiskName();
    for (const std::int32_t tag : {100, 105}) {
        select(tag);
        EXPECT_EQ(device->mountDiskName(), "Blue Phone");
        EXPECT_EQ(device->currentMountDiskName(), std::nullopt);
    }
}

TEST_F(NamingTest, ATakenNameGetsTheNextNumber) {
    world.files.paths = {"/Volumes/Blue Phone (Media)"};
    EXPECT_EQ(device->mountDiskName(), "Blue Phone (Media) 2");
    world.files.paths.insert("/Volumes/Blue Phone (Media) 2");
    EXPECT_EQ(device->mountDiskName(), "Blue Phone (Media) 3");
    EXPECT_EQ(device->currentMountDiskName(), "Blue Phone (Media) 3");
}

TEST_F(NamingTest, ACustomNameHoldsForEveryDevice) {
    useCustomName("Pocket");
    for (const std::int32_t tag : {11, 10, 107}) {
        select(tag);
        EXPECT_EQ(device->mountDiskName(), "Pocket");
    }
    world.files.paths = {"/Volumes/Pocket"};
    EXPECT_EQ(attach(second)->mountDiskName(), "Pocket 2");
}

TEST_F(NamingTest, AnEmptyOrUnwantedCustomNameIsNotUsed) {
    useCustomName("");
    EXPECT_EQ(device->mountDiskName(), "Blue Phone (Media)");
    world.preferences.removeObject("customizeMountName");
    EXPECT_EQ(device->mountDiskName(), "Blue Phone (Media)");
    useCustomName("Pocket");
    isUseCustomizeMountName_ = false;
    EXPECT_EQ(device->mountDiskName(), "Blue Phone (Media)");
}

TEST_F(NamingTest, ChoosingAPathMakesNothing) {
    world.files.paths = {"/x/a", "/x/a 2"};
    EXPECT_EQ(device->createNewFolder("/x/a"), "/x/a 3");
    EXPECT_EQ(device->createNewFolder("/x/b"), "/x/b");
    EXPECT_EQ(world.files.paths.size(), 2U);
}

TEST_F(NamingTest, LongNamesStayOneFolderNameWithTheirNumber) {
    const std::string name(255, 'n');
    world.files.paths = {"/Volumes/" + name};
    const std::string next = device->createNewFolder("/Volumes/" + name);
    EXPECT_EQ(next, "/Volumes/" + std::string(253, 'n') + " 2");
}

TEST_F(NamingTest, ADeviceCannotNameItsVolumeOutOfTheFolder) {
    world.device.values.insert_or_assign("DeviceName", "../../etc");
    const auto hostile = attach(world.device);
    hostile->startMount();
    EXPECT_EQ(hostile->myMountPath(), "/Volumes/..:..:etc (Media)");
    EXPECT_EQ(hostile->myOption().at(1), "volname=..:..:etc (Media)");
}

TEST_F(NamingTest, TheLocalOptionIsWantedUnlessTheVersionHoldsTheFourCharacters) {
    const std::vector<std::pair<const char*, bool>> rows{{"Version 10.4.11 (Build 8S165)", false},
                                                         {"Version 10.6.8", true},
                                                         {"Build 1510.4", false},
                                                         {"", true}};
    for (const auto& [version, isWanted] : rows) {
        world.bundle.version = version;
        EXPECT_EQ(device->needsLocalOption(), isWanted) << version;
    }
}

TEST_F(NamingTest, FoldersAreMadeOnTheDeviceThroughItsSession) {
    world.calls.take();
    EXPECT_TRUE(device->createDirectoryAtPath("/new"));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCDirectoryCreate /new"}));
    world.calls.failAlways("AFCDirectoryCreate", 10);
    EXPECT_FALSE(device->createDirectoryAtPath("/newer"));
    EXPECT_TRUE(world.files.paths.empty());
}

TEST_F(NamingTest, WithoutASessionFoldersAreMadeOnThisComputer) {
    device->setIPhoneInterface(nullptr);
    EXPECT_TRUE(device->createDirectoryAtPath("/local/new"));
    EXPECT_TRUE(world.files.paths.contains("/local/new"));
    world.files.failure = "No space left on device";
    world.log.take();
    EXPECT_FALSE(device->createDirectoryAtPath("/local/newer"));
    EXPECT_EQ(world.log.take(), (Texts{"Error creating directory /local/newer;  error: No space "
                                       "left on device\n"}));
}

TEST(VolumePathTest, AnyTextBecomesOneFolderName) {
    EXPECT_EQ(folderName("Blue Phone"), "Blue Phone");
    EXPECT_EQ(folderName("a/b"), "a:b");
    EXPECT_EQ(folderName("/"), ":");
    EXPECT_EQ(folderName(""), "Untitled");
    EXPECT_EQ(folderName("."), "Untitled");
    EXPECT_EQ(folderName(".."), "Untitled");
    EXPECT_EQ(folderName("..."), "...");
    EXPECT_EQ(folderName(".hidden"), ".hidden");
}

TEST(VolumePathTest, ControlCharactersAreDropped) {
    EXPECT_EQ(folderName(std::string("a\n\tb\x7f"
                                     "c\0d",
                                     8)),
              "abcd");
    EXPECT_EQ(folderName("x\xC2\x85y"), "xy");
    EXPECT_EQ(folderName("\x01.\x02.\x03"), "Untitled");
    EXPECT_EQ(folderName("caf\xC3\xA9"), "caf\xC3\xA9");
}

TEST(VolumePathTest, LongNamesAreCutBetweenCharacters) {
    EXPECT_EQ(folderName(std::string(300, 'a')), std::string(255, 'a'));
    // 254 bytes, then a character of two: it goes whole.
    EXPECT_EQ(folderName(std::string(254, 'a') + "\xC3\xA9"), std::string(254, 'a'));
    EXPECT_EQ(folderName(std::string(253, 'a') + "\xC3\xA9"), std::string(253, 'a') + "\xC3\xA9");
    EXPECT_EQ(folderName(std::string(252, 'a') + "\xF0\x9F\x93\xB1"), std::string(252, 'a'));
}

TEST(VolumePathTest, TheFolderAndTheNameAreJoined) {
    EXPECT_EQ(volumePath("/Volumes", "Blue Phone"), "/Volumes/Blue Phone");
    EXPECT_EQ(volumePath("/Volumes/", "a/b"), "/Volumes/a:b");
}

TEST(VolumePathTest, TheSearchForAFreeNameEndsAtItsBoundWithTheLastOfTheNames) {
    std::vector<std::string> asked;
    const auto isTaken = [&asked](const std::string& candidate) {
        asked.push_back(candidate);
        return true;
    };
    EXPECT_EQ(firstFreePath("/Volumes/a", isTaken, 5), "/Volumes/a 4");
    EXPECT_EQ(asked, (Texts{"/Volumes/a", "/Volumes/a 2", "/Volumes/a 3"}));
    EXPECT_EQ(kNameNumberBound, 100000000U);
}

TEST(VolumePathTest, ASuffixCutsTheNameBetweenCharacters) {
    EXPECT_EQ(pathWithSuffix("/Volumes/a", " 2"), "/Volumes/a 2");
    std::string name(251, 'a');
    name += "\xC3\xA9\xC3\xA9";
    EXPECT_EQ(pathWithSuffix("/Volumes/" + name, " 2"),
              "/Volumes/" + std::string(251, 'a') + "\xC3\xA9 2");
    EXPECT_LE(lastPathComponent(pathWithSuffix("/V/" + name, " 99999999")).size(), 255U);
}

}  // namespace
}  // namespace quillbox::fakes
