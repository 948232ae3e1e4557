// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

#include <stdexcept>

namespace quillbox::fakes {
namespace {

class SavingTest : public SessionTest {
protected:
    std::optional<std::string> saved() {
        const auto record = world.preferences.dictionaryForKey("UDID1");
        if (!record) {
            return std::nullopt;
        }
        EXPECT_EQ(record->size(), 1U);
        return *find(*record, "lastMountPoint_appBundle")->string();
    }
};

TEST_F(SavingTest, MediaIsSavedByItsServiceAndTheStoreIsFlushed) {
    const auto record = phone.saveConnectionPoint();
    EXPECT_EQ(record, (PropertyDictionary{{"lastMountPoint_appBundle", "com.apple.afc"}}));
    EXPECT_EQ(saved(), "com.apple.afc");
    EXPECT_EQ(world.calls.count("synchronize"), 1U);
    EXPECT_EQ(world.calls.take().back(), "synchronize");
}

TEST_F(SavingTest, RootIsSavedByItsService) {
    open(true);
    phone.saveConnectionPoint();
    EXPECT_EQ(saved(), "com.apple.afc2");
}

TEST_F(SavingTest, AnApplicationIsSavedByItsIdentifier) {
    switchToApplication(false);
    phone.saveConnectionPoint();
    EXPECT_EQ(saved(), "org.example.notes");
}

TEST_F(SavingTest, NoRootIsSavedAsTheRootService) {
    PodPhone fresh(world.platform);
    fresh.setDeviceUniqueDeviceID("UDID1");
    EXPECT_EQ(fresh.currentRootTag(), 0);
    fresh.saveConnectionPoint();
    EXPECT_EQ(saved(), "com.apple.afc2");
}

TEST_F(SavingTest, AnIndexOutsideTheCatalogueRaises) {
    phone.setupConnectionForRoot(105);
    EXPECT_THROW(phone.saveConnectionPoint(), std::out_of_range);
    EXPECT_EQ(saved(), std::nullopt);
}

TEST_F(SavingTest, WithoutAnIdentifierNothingIsWritten) {
    world.device.values.erase("UniqueDeviceID");
    EXPECT_EQ(phone.saveConnectionPoint(), std::nullopt);
    EXPECT_EQ(world.log.take(), (Texts{"uniqueDeviceID == nil"}));
    EXPECT_TRUE(world.preferences.values().empty());
    EXPECT_EQ(world.calls.count("synchronize"), 0U);
}

TEST_F(SavingTest, ADeviceThatCallsItselfByASettingsNameDoesNotReachTheSetting) {
    for (const char* key : {"isAfterFirstRun", "setting_mountDiskMode", "tempDirectory"}) {
        world.device.values.insert_or_assign("UniqueDeviceID", key);
        EXPECT_EQ(phone.saveConnectionPoint(), std::nullopt) << key;
    }
    EXPECT_TRUE(world.preferences.values().empty());
}

class RestoringTest : public CoreTest {
protected:
    void save(const std::string& value) {
        world.preferences.setObject("UDID1",
                                    PropertyDictionary{{"lastMountPoint_appBundle", value}});
        isMountLastPoint_ = true;
    }

    void open(bool offersRoot) {
        if (offersRoot) {
            world.device.services.insert("com.apple.afc2");
        }
        EXPECT_TRUE(phone.initializePodPhone(&world.device, offersRoot));
    }

    PodPhone phone{world.platform};
};

TEST_F(RestoringTest, NothingIsRestoredWhileTheFlagIsOff) {
    save("org.example.notes");
    isMountLastPoint_ = false;
    open(false);
    EXPECT_EQ(world.log.take(), Texts{});
    EXPECT_EQ(phone.currentRootTag(), 11);
}

TEST_F(RestoringTest, ADeviceThatWasNeverSavedKeepsItsRoot) {
    isMountLastPoint_ = true;
    open(false);
    EXPECT_EQ(world.log.take(), (Texts{"restoreLastMountConnection"}));
    EXPECT_EQ(phone.currentRootTag(), 11);
}

TEST_F(RestoringTest, WithoutAnIdentifierNothingIsRestored) {
    save("org.example.notes");
    world.device.values.erase("UniqueDeviceID");
    open(false);
    EXPECT_EQ(world.log.take(), (Texts{"restoreLastMountConnection", "uniqueDeviceID == nil"}));
}

TEST_F(RestoringTest, ASavedRootChangesNothing) {
    save("com.apple.afc2");
    open(false);
    EXPECT_EQ(world.log.take(),
              (Texts{"restoreLastMountConnection", "AMDeviceStartService:com.apple.afc2"}));
    EXPECT_EQ(phone.currentRootTag(), 11);
    EXPECT_EQ(world.calls.count("AFCConnectionClose"), 0U);
}

TEST_F(RestoringTest, ASavedRootLeavesAJailbrokenDeviceWhereItStands) {
    save("com.apple.afc2");
    open(true);
    EXPECT_EQ(phone.currentRootTag(), 10);
    EXPECT_EQ(phone.lastMountTag(), 10);
    EXPECT_EQ(world.calls.count("AFCConnectionClose"), 0U);
}

TEST_F(RestoringTest, ASavedMediaRootSwitchesAJailbrokenDevice) {
    save("com.apple.afc");
    open(true);
    EXPECT_EQ(phone.currentRootTag(), 11);
    EXPECT_EQ(phone.lastMountTag(), 11);
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Media");
    EXPECT_EQ(world.log.take(),
              (Texts{"restoreLastMountConnection", "AMDeviceStartService:com.apple.afc",
                     "setupConnectionForRoot:11"}));
}

TEST_F(RestoringTest, ASavedMediaRootSwitchesNothingOnAnyOtherDevice) {
    save("com.apple.afc");
    open(false);
    EXPECT_EQ(world.log.take(),
              (Texts{"restoreLastMountConnection", "AMDeviceStartService:com.apple.afc"}));
    EXPECT_EQ(world.calls.count("AFCConnectionClose"), 0U);
}

TEST_F(RestoringTest, ASavedApplicationIsOpenedAgain) {
    World::addApplication(world.device, "org.example.maps", "Maps");
    World::addApplication(world.device, "org.example.notes", "Notes");
    save("org.example.notes");
    open(false);
    EXPECT_EQ(phone.currentRootTag(), 101);
    EXPECT_EQ(phone.lastMountTag(), 101);
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "org.example.notes");
    EXPECT_TRUE(world.log.contains("AMDeviceStartHouseArrestService:org.example.notes"));
}

TEST_F(RestoringTest, ASavedApplicationThatIsGoneLeavesTheRootAndTheMarkedTag) {
    World::addApplication(world.device, "org.example.maps", "Maps");
    save("org.example.notes");
    open(false);
    EXPECT_EQ(phone.currentRootTag(), 11);
    EXPECT_EQ(phone.lastMountTag(), 11);
    EXPECT_EQ(world.calls.count("AFCConnectionClose"), 0U);
}

TEST_F(RestoringTest, AFailedSwitchDoesNotFailTheOpening) {
    World::addApplication(world.device, "org.example.notes", "Notes");
    save("org.example.notes");
    world.calls.fail("AMDeviceStartHouseArrestService", 5);
    open(false);
    EXPECT_EQ(phone.currentRootTag(), 100);
    EXPECT_EQ(phone.lastMountTag(), 100);
}

}  // namespace
}  // namespace quillbox::fakes
