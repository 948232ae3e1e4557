// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class OpeningTest : public CoreTest {
protected:
    bool open(bool allowAFC2) { return phone.initializePodPhone(&world.device, allowAFC2); }

    PodPhone phone{world.platform};
};

TEST_F(OpeningTest, ANewSessionIsEmpty) {
    EXPECT_EQ(phone.myDevice(), nullptr);
    EXPECT_EQ(phone.myConnection(), 0U);
    EXPECT_EQ(phone.currentRootTag(), 0);
    EXPECT_EQ(phone.lastMountTag(), 0);
    EXPECT_FALSE(phone.isJailbreaked());
    EXPECT_FALSE(phone.isUsingAFC2());
    EXPECT_EQ(phone.serialNumber(), std::nullopt);
    EXPECT_EQ(phone.fileShareAppBundlesArray(), std::nullopt);
}

TEST_F(OpeningTest, OpensTheMediaAreaWithoutAskingForTheRootService) {
    world.device.services.insert("com.apple.afc2");
    EXPECT_TRUE(open(false));
    EXPECT_EQ(world.calls.take(),
              (Texts{"AMDeviceConnect", "AMDeviceIsPaired", "AMDeviceValidatePairing",
                     "AMDeviceStartSession", "AMDeviceStartService com.apple.afc",
                     "AFCConnectionOpen Media 0", "AMDeviceCopyValue SerialNumber"}));
    EXPECT_EQ(phone.myDevice(), &world.device);
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Media");
    EXPECT_EQ(phone.currentRootTag(), 11);
    EXPECT_EQ(phone.lastMountTag(), 11);
    EXPECT_FALSE(phone.isJailbreaked());
    EXPECT_EQ(phone.serialNumber(), "SERIAL1");
    EXPECT_EQ(world.log.take(), Texts{});
    EXPECT_EQ(world.locks.subjects, (std::vector<const void*>{&world.device}));
}

TEST_F(OpeningTest, ADeviceThatOffersTheRootServiceStartsOnRoot) {
    world.device.services.insert("com.apple.afc2");
    EXPECT_TRUE(open(true));
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Root");
    EXPECT_EQ(phone.currentRootTag(), 10);
    EXPECT_EQ(phone.lastMountTag(), 10);
    EXPECT_TRUE(phone.isJailbreaked());
    EXPECT_EQ(world.calls.count("AMDeviceStartService"), 1U);
}

TEST_F(OpeningTest, ADeviceThatRefusesTheRootServiceEndsOnMedia) {
    EXPECT_TRUE(open(true));
    EXPECT_FALSE(phone.isJailbreaked());
    EXPECT_EQ(phone.currentRootTag(), 11);
    EXPECT_EQ(world.calls.count("AMDeviceStartService com.apple.afc2"), 1U);
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Media");
}

TEST_F(OpeningTest, EveryFailedStepEndsTheOpeningAndUndoesNothing) {
    const Texts steps{"AMDeviceConnect",      "AMDeviceIsPaired",     "AMDeviceValidatePairing",
                      "AMDeviceStartSession", "AMDeviceStartService", "AFCConnectionOpen"};
    for (const auto& step : steps) {
        PodPhone session(world.platform);
        world.calls.take();
        world.calls.fail(step, 2);
        EXPECT_FALSE(session.initializePodPhone(&world.device, false)) << step;
        const Texts calls = world.calls.take();
        EXPECT_TRUE(calls.back().starts_with(step)) << step;
        EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                                [](const auto& each) {
                                    return each.starts_with("AMDeviceDisconnect") ||
                                           each.starts_with("AMDeviceStopSession");
                                }),
                  0);
        EXPECT_EQ(session.myDevice(), nullptr);
        EXPECT_EQ(session.myConnection(), 0U);
    }
}

TEST_F(OpeningTest, OnlyTheAnswerOneCountsAsPaired) {
    for (const std::uint32_t answer :
         {std::uint32_t{2}, std::uint32_t{FakeMobileDevice::kNotPaired}}) {
        PodPhone session(world.platform);
        world.calls.fail("AMDeviceIsPaired", answer);
        EXPECT_FALSE(session.initializePodPhone(&world.device, false));
    }
}

TEST_F(OpeningTest, TheSerialNumberIsAskedOnlyWhileItIsAbsent) {
    phone.setSerialNumber("KEPT");
    EXPECT_TRUE(open(false));
    EXPECT_EQ(phone.serialNumber(), "KEPT");
    EXPECT_EQ(world.calls.count("AMDeviceCopyValue SerialNumber"), 0U);
}

TEST_F(OpeningTest, ADeviceWithoutSerialNumberOpensAllTheSame) {
    world.device.values.erase("SerialNumber");
    EXPECT_TRUE(open(false));
    EXPECT_EQ(phone.serialNumber(), std::nullopt);
}

TEST_F(OpeningTest, ReconnectingTearsDownAndOpensAgain) {
    EXPECT_TRUE(open(false));
    World::addApplication(world.device, "org.example.notes", "Notes");
    const auto catalogue = phone.getUserAppBundlesArray(false);
    const auto first = phone.myConnection();
    world.calls.take();
    phone.ReConnect(false);
    EXPECT_EQ(world.calls.take(),
              (Texts{"AFCConnectionClose Media", "AMDeviceStopSession", "AMDeviceDisconnect",
                     "AMDeviceConnect", "AMDeviceIsPaired", "AMDeviceValidatePairing",
                     "AMDeviceStartSession", "AMDeviceStartService com.apple.afc",
                     "AFCConnectionOpen Media 0"}));
    EXPECT_NE(phone.myConnection(), first);
    EXPECT_EQ(phone.fileShareAppBundlesArray(), catalogue);
}

TEST_F(OpeningTest, ReconnectingWithoutTheRootServiceKeepsTheRootsTagOnTheMediaArea) {
    world.device.services.insert("com.apple.afc2");
    EXPECT_TRUE(open(true));
    phone.ReConnect(false);
    EXPECT_TRUE(phone.isJailbreaked());
    EXPECT_EQ(phone.currentRootTag(), 10);
    EXPECT_EQ(phone.lastMountTag(), 10);
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Media");
}

TEST_F(OpeningTest, ReconnectingMakesANewLockThatIsFree) {
    EXPECT_TRUE(open(false));
    world.calls.fail("AMDeviceStartSession", 3);
    EXPECT_FALSE(phone.setupConnectionForRoot(10));
    EXPECT_TRUE(world.locks.isHeld);
    phone.ReConnect(false);
    EXPECT_FALSE(world.locks.isHeld);
    world.device.services.insert("com.apple.afc2");
    EXPECT_TRUE(phone.setupConnectionForRoot(10));
}

TEST_F(OpeningTest, WhatOthersSetIsKept) {
    EXPECT_TRUE(open(false));
    phone.setIsUsingAFC2(true);
    phone.setIsJailbreaked(true);
    phone.setLastMountTag(102);
    phone.setFileShareAppBundlesArray(AppCatalogue{{{"name", "Notes"}, {"ID", "org.notes"}}});
    EXPECT_TRUE(phone.isUsingAFC2());
    EXPECT_TRUE(phone.isJailbreaked());
    EXPECT_EQ(phone.lastMountTag(), 102);
    EXPECT_EQ(phone.getUserAppBundlesArray(true).size(), 1U);
    EXPECT_EQ(world.calls.count("AMDeviceLookupApplications"), 0U);
}

TEST_F(OpeningTest, ASecondConnectionToAnApplicationClosesNothingAndKeepsTheTag) {
    EXPECT_TRUE(open(false));
    world.calls.take();
    am_device other = world.device;
    EXPECT_TRUE(phone.connectToApp(&other, "org.example.notes"));
    EXPECT_EQ(phone.myDevice(), &other);
    EXPECT_EQ(world.calls.take(), (Texts{"AMDeviceStartHouseArrestService org.example.notes",
                                         "AFCConnectionOpen org.example.notes 0"}));
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "org.example.notes");
    EXPECT_EQ(phone.currentRootTag(), 11);
}

TEST_F(OpeningTest, ASecondConnectionSucceedsOnceItsServiceHasStarted) {
    EXPECT_TRUE(open(false));
    const auto kept = phone.myConnection();
    world.calls.fail("AFCConnectionOpen", 1);
    EXPECT_TRUE(phone.connectToApp(&world.device, "org.example.notes"));
    EXPECT_EQ(phone.myConnection(), kept);
    world.calls.fail("AMDeviceStartHouseArrestService", 1);
    EXPECT_FALSE(phone.connectToApp(&world.device, "org.example.notes"));
}

class SwitchingTest : public SessionTest {
protected:
    const Texts restart{"AFCConnectionClose Media", "AMDeviceStopSession",
                        "AMDeviceDisconnect",       "AMDeviceConnect",
                        "AMDeviceIsPaired",         "AMDeviceValidatePairing",
                        "AMDeviceStartSession"};

    static Texts joined(Texts a, const Texts& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }
};

TEST_F(SwitchingTest, TheCurrentRootIsKeptWithoutTouchingAnything) {
    EXPECT_TRUE(phone.setupConnectionForRoot(11));
    EXPECT_EQ(world.calls.take(), Texts{});
    EXPECT_EQ(world.log.take(), (Texts{"setupConnectionForRoot:11", "tagIndex = currentRootTag"}));
}

TEST_F(SwitchingTest, SwitchingToRootRestartsTheSession) {
    world.device.services.insert("com.apple.afc2");
    phone.setCurrentDirectory("/DCIM");
    EXPECT_TRUE(phone.setupConnectionForRoot(10));
    EXPECT_EQ(world.calls.take(),
              joined(joined({"lock"}, restart), {"AMDeviceStartService com.apple.afc2",
                                                 "AFCConnectionOpen Root 0", "unlock"}));
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Root");
    EXPECT_EQ(world.afc.openConnections(), 1U);
    EXPECT_EQ(phone.currentRootTag(), 10);
    EXPECT_EQ(phone.lastMountTag(), 11);
    EXPECT_EQ(phone.currentDirectory(), "/");
    EXPECT_EQ(world.log.take(), (Texts{"setupConnectionForRoot:10"}));
}

TEST_F(SwitchingTest, SwitchingToAnApplicationStartsHouseArrestOnItsIdentifier) {
    World::addApplication(world.device, "org.example.b", "Beta");
    World::addApplication(world.device, "org.example.a", "alpha");
    EXPECT_TRUE(phone.setupConnectionForRoot(101));
    EXPECT_EQ(world.calls.take(),
              joined(joined({"lock"}, restart), {"AMDeviceLookupApplications 0",
                                                 "AMDeviceStartHouseArrestService org.example.b",
                                                 "AFCConnectionOpen org.example.b 0", "unlock"}));
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "org.example.b");
}

TEST_F(SwitchingTest, AnIndexThatEqualsTheCatalogueFailsWithTheOldConnectionClosed) {
    World::addApplication(world.device, "org.example.a", "Alpha");
    EXPECT_FALSE(phone.setupConnectionForRoot(101));
    EXPECT_EQ(world.calls.take(),
              joined(joined({"lock"}, restart), {"AMDeviceLookupApplications 0", "unlock"}));
    EXPECT_EQ(phone.currentRootTag(), 101);
    EXPECT_EQ(world.afc.openConnections(), 0U);
    EXPECT_FALSE(world.locks.isHeld);
}

TEST_F(SwitchingTest, ANumberThatIsNoRootFailsAfterClosingTheConnection) {
    EXPECT_FALSE(phone.setupConnectionForRoot(5));
    EXPECT_EQ(world.calls.take(), joined(joined({"lock"}, restart), {"unlock"}));
    EXPECT_EQ(phone.currentRootTag(), 5);
    EXPECT_EQ(world.afc.openConnections(), 0U);
    EXPECT_FALSE(phone.setupConnectionForRoot(99));
    EXPECT_FALSE(phone.setupConnectionForRoot(-1));
}

TEST_F(SwitchingTest, AServiceThatIsRefusedFailsAndKeepsTheNewTag) {
    EXPECT_FALSE(phone.setupConnectionForRoot(10));
    EXPECT_EQ(phone.currentRootTag(), 10);
    EXPECT_EQ(world.calls.count("AFCConnectionOpen"), 0U);
    EXPECT_EQ(world.afc.openConnections(), 0U);
    EXPECT_FALSE(world.locks.isHeld);
    EXPECT_TRUE(phone.setupConnectionForRoot(11));  // the way back
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Media");
}

TEST_F(SwitchingTest, AConnectionThatDoesNotOpenFailsAndFreesTheLock) {
    phone.setCurrentDirectory("/DCIM");
    world.device.services.insert("com.apple.afc2");
    world.calls.fail("AFCConnectionOpen", 1);
    EXPECT_FALSE(phone.setupConnectionForRoot(10));
    EXPECT_FALSE(world.locks.isHeld);
    EXPECT_EQ(phone.currentDirectory(), "/DCIM");
}

TEST_F(SwitchingTest, AFailedRestartKeepsTheLockAndTheClosedConnection) {
    for (const char* step : {"AMDeviceConnect", "AMDeviceIsPaired", "AMDeviceValidatePairing",
                             "AMDeviceStartSession"}) {
        PodPhone session(world.platform);
        ASSERT_TRUE(session.initializePodPhone(&world.device, false));
        const auto closed = session.myConnection();
        world.calls.take();
        world.calls.fail(step, 3);
        EXPECT_FALSE(session.setupConnectionForRoot(10)) << step;
        EXPECT_EQ(world.calls.take().back(), step);
        EXPECT_TRUE(world.locks.isHeld) << step;
        EXPECT_EQ(session.myConnection(), closed);
        EXPECT_EQ(session.currentRootTag(), 10);
    }
}

TEST_F(SwitchingTest, ASwitchThatNeverGetsTheLockFailsWithoutFreeingIt) {
    world.calls.fail("AMDeviceConnect", 3);
    EXPECT_FALSE(phone.setupConnectionForRoot(10));
    world.calls.take();
    EXPECT_FALSE(phone.setupConnectionForRoot(11));
    EXPECT_EQ(world.calls.take(), (Texts{"lock"}));
    EXPECT_EQ(world.locks.ended, 1);
    EXPECT_TRUE(world.locks.isHeld);
    EXPECT_EQ(phone.currentRootTag(), 11);
}

TEST_F(SwitchingTest, PathsAreMappedForTheRootOfTheConnectionThatIsStillOpen) {
    switchToApplication(true);
    for (const char* path : {"/x", "/Documents/x"}) {
        world.afc.addFile("org.example.notes", path, "text");
    }
    world.afc.runBeforeNextClose([this] { EXPECT_TRUE(phone.removeItemAtPath("/x", &error)); });
    EXPECT_TRUE(phone.setupConnectionForRoot(11));
    EXPECT_TRUE(world.afc.exists("org.example.notes", "/x"));
    EXPECT_FALSE(world.afc.exists("org.example.notes", "/Documents/x"));
    EXPECT_EQ(phone.devicePathForVolumePath("/x"), "/x");
}

TEST_F(SwitchingTest, AFailedSwitchMapsPathsForTheNewRoot) {
    switchToApplication(true);
    EXPECT_FALSE(phone.setupConnectionForRoot(5));
    EXPECT_EQ(phone.devicePathForVolumePath("/x"), "/x");
    EXPECT_FALSE(phone.setupConnectionForRoot(105));
    EXPECT_EQ(phone.devicePathForVolumePath("/x"), "/Documents/x");
}

TEST_F(SwitchingTest, WithoutAConnectionTheSessionIsNotRestarted) {
    phone.setMyConnection(0);
    world.device.services.insert("com.apple.afc2");
    EXPECT_TRUE(phone.setupConnectionForRoot(10));
    EXPECT_EQ(world.calls.take(), (Texts{"lock", "AMDeviceStartService com.apple.afc2",
                                         "AFCConnectionOpen Root 0", "unlock"}));
}

TEST_F(SwitchingTest, TheFailuresOfEndingTheOldSessionAreNotLookedAt) {
    world.device.services.insert("com.apple.afc2");
    world.calls.fail("AFCConnectionClose", 1);
    world.calls.fail("AMDeviceStopSession", 1);
    world.calls.fail("AMDeviceDisconnect", 1);
    EXPECT_TRUE(phone.setupConnectionForRoot(10));
}

}  // namespace
}  // namespace quillbox::fakes
