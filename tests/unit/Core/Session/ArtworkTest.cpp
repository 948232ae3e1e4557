// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class ArtworkTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        World::addApplication(world.device, "org.example.atlas", "Atlas");
        World::addApplication(world.device, "org.example.notes", "Notes");
        world.afc.addDirectory("org.example.notes", "/");
        phone.getUserAppBundlesArray(false);
        world.calls.take();
    }

    void setArtwork(std::string encoded) {
        world.afc.addFile("org.example.notes", "/iTunesArtwork", std::move(encoded));
    }

    Texts calls() {
        Texts chosen;
        for (const auto& call : world.calls.take()) {
            if (call.starts_with("AMDevice") || call.starts_with("AFCConnection")) {
                chosen.push_back(call);
            }
        }
        return chosen;
    }
};

TEST_F(ArtworkTest, ThePictureAtTheTopOfTheAreaIsDecoded) {
    setArtwork("picture 512x512");
    const auto image = phone.getImageBy(1);
    ASSERT_TRUE(image);
    EXPECT_EQ(world.images.size(*image), (Size{512, 512}));
    EXPECT_EQ(world.calls.count("AFCFileRefOpen /iTunesArtwork 2"), 1U);
    EXPECT_EQ(calls(),
              (Texts{"AFCConnectionClose Media", "AMDeviceStopSession", "AMDeviceDisconnect",
                     "AMDeviceConnect", "AMDeviceIsPaired", "AMDeviceValidatePairing",
                     "AMDeviceStartSession", "AMDeviceStartHouseArrestService org.example.notes",
                     "AFCConnectionOpen org.example.notes 0"}));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(ArtworkTest, TheConnectionStaysOnTheAreaAndServesNoRoot) {
    setArtwork("picture 512x512");
    phone.getImageBy(1);
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "org.example.notes");
    EXPECT_EQ(phone.currentRootTag(), kRootTagNone);
    EXPECT_EQ(world.afc.openConnections(), 1U);
    EXPECT_TRUE(phone.setupConnectionForRoot(kRootTagMedia));
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "Media");
}

TEST_F(ArtworkTest, WithoutAConnectionNothingIsClosedFirst) {
    world.afc.AFCConnectionClose(phone.myConnection());
    phone.setMyConnection(0);
    world.calls.take();
    phone.getImageBy(1);
    EXPECT_EQ(calls(), (Texts{"AMDeviceStartHouseArrestService org.example.notes",
                              "AFCConnectionOpen org.example.notes 0"}));
}

TEST_F(ArtworkTest, AnIndexOutOfTheCatalogueGivesBackALockThatNobodyTook) {
    const auto connection = phone.myConnection();
    for (const std::int64_t index : {std::int64_t{2}, std::int64_t{-1}, std::int64_t{1} << 40}) {
        phone.setupConnectionForRoot(kRootTagMedia);
        world.calls.take();
        EXPECT_EQ(phone.getImageBy(index), std::nullopt);
        EXPECT_EQ(world.calls.take(), Texts{"unlock"});
        EXPECT_EQ(phone.currentRootTag(), kRootTagNone);
    }
    EXPECT_NE(connection, 0U);
}

TEST_F(ArtworkTest, AnApplicationWithoutArtworkGivesNoneAndTheConnectionStaysOnItsArea) {
    EXPECT_EQ(phone.getImageBy(1), std::nullopt);
    EXPECT_EQ(world.afc.treeOf(phone.myConnection()), "org.example.notes");
}

TEST_F(ArtworkTest, EmptyAndDamagedArtworkGivesNone) {
    for (const auto* encoded : {"", "no picture at all"}) {
        setArtwork(encoded);
        EXPECT_EQ(phone.getImageBy(1), std::nullopt) << encoded;
        EXPECT_EQ(world.afc.content("org.example.notes", "/iTunesArtwork"), encoded);
    }
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(ArtworkTest, EachStepThatFailsGivesNone) {
    setArtwork("picture 512x512");
    for (const auto* call :
         {"AMDeviceConnect", "AMDeviceValidatePairing", "AMDeviceStartSession",
          "AMDeviceStartHouseArrestService", "AFCConnectionOpen", "AFCFileRefOpen"}) {
        world.calls.fail(call, 1);
        EXPECT_EQ(phone.getImageBy(1), std::nullopt) << call;
        EXPECT_EQ(phone.currentRootTag(), kRootTagNone);
    }
    world.calls.fail("AMDeviceIsPaired", 5);
    EXPECT_EQ(phone.getImageBy(1), std::nullopt);
    EXPECT_TRUE(phone.getImageBy(1));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(ArtworkTest, TheFilterOfThePreferencesBuildsTheCatalogue) {
    PodPhone fresh(world.platform);
    World::addApplication(world.device, "org.example.closed", "Aardvark", false);
    ASSERT_TRUE(fresh.initializePodPhone(&world.device, false));
    isOnlyShowFileSharingApp_ = true;
    setArtwork("picture 64x64");
    EXPECT_TRUE(fresh.getImageBy(1)) << "the second of the two that share files";
    EXPECT_EQ(fresh.fileShareAppBundlesArray()->size(), 2U);
}

}  // namespace
}  // namespace quillbox::fakes
