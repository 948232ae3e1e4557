// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class ApplicationsTest : public SessionTest {
protected:
    Texts listed(bool onlyFileSharing) {
        Texts identifiers;
        for (const auto& record : phone.getUserAppBundlesArray(onlyFileSharing)) {
            identifiers.push_back(*find(record, "ID")->string());
        }
        return identifiers;
    }

    PropertyDictionary& attributes(const std::string& identifier) {
        World::addApplication(world.device, identifier, identifier);
        auto dictionary = *world.device.applications.at(identifier).dictionary();
        scratch = std::move(dictionary);
        return scratch;
    }

    void store(const std::string& identifier) {
        world.device.applications.insert_or_assign(identifier, scratch);
    }

    PropertyDictionary scratch;
};

TEST_F(ApplicationsTest, RecordsHoldNameIdentifierAndIcon) {
    attributes("org.a").insert_or_assign("CFBundleIconFile", "icon.png");
    store("org.a");
    World::addApplication(world.device, "org.b", "Bee");
    EXPECT_EQ(phone.getUserAppBundlesArray(false),
              (AppCatalogue{{{"name", "Bee"}, {"ID", "org.b"}},
                            {{"name", "org.a"}, {"ID", "org.a"}, {"icon", "icon.png"}}}));
}

TEST_F(ApplicationsTest, AnApplicationWithoutIconFileGetsARecordWithoutIcon) {
    World::addApplication(world.device, "org.a", "Alpha");
    EXPECT_FALSE(phone.getUserAppBundlesArray(false).at(0).contains("icon"));
}

TEST_F(ApplicationsTest, SystemApplicationsAndNamelessOnesAreLeftOut) {
    attributes("org.system").insert_or_assign("ApplicationType", "System");
    store("org.system");
    attributes("org.lower").insert_or_assign("ApplicationType", "user");
    store("org.lower");
    attributes("org.untyped").erase("ApplicationType");
    store("org.untyped");
    attributes("org.nameless").erase("CFBundleDisplayName");
    store("org.nameless");
    attributes("org.number").insert_or_assign("CFBundleDisplayName", 5);
    store("org.number");
    world.device.applications.insert_or_assign("org.text", "no dictionary");
    World::addApplication(world.device, "org.user", "User");
    EXPECT_EQ(listed(false), (Texts{"org.user"}));
}

TEST_F(ApplicationsTest, TheFilterKeepsWhatSharesFiles) {
    World::addApplication(world.device, "org.shares", "A", true);
    World::addApplication(world.device, "org.not", "B", false);
    attributes("org.silent").erase("UIFileSharingEnabled");
    store("org.silent");
    EXPECT_EQ(listed(true), (Texts{"org.shares"}));
}

TEST_F(ApplicationsTest, WithoutTheFilterAllUserApplicationsAreListed) {
    World::addApplication(world.device, "org.shares", "A", true);
    World::addApplication(world.device, "org.not", "B", false);
    attributes("org.silent").erase("UIFileSharingEnabled");
    store("org.silent");
    EXPECT_EQ(listed(false), (Texts{"org.shares", "org.not", "org.silent"}));
}

TEST_F(ApplicationsTest, NamesAreOrderedWithoutCaseAndEqualOnesByIdentifier) {
    World::addApplication(world.device, "org.z", "notes");
    World::addApplication(world.device, "org.B", "Notes");
    World::addApplication(world.device, "org.a", "NOTES");
    World::addApplication(world.device, "org.m", "maps");
    EXPECT_EQ(listed(false), (Texts{"org.m", "org.a", "org.B", "org.z"}));
}

TEST_F(ApplicationsTest, TheFirstFilterHoldsAndTheDeviceIsAskedOnce) {
    World::addApplication(world.device, "org.shares", "A", true);
    World::addApplication(world.device, "org.not", "B", false);
    const Texts unfiltered = listed(false);
    world.device.applications.clear();
    EXPECT_EQ(listed(true), unfiltered);
    EXPECT_EQ(world.calls.count("AMDeviceLookupApplications"), 1U);
}

TEST_F(ApplicationsTest, AFailedLookupGivesAnEmptyCatalogueThatIsKept) {
    World::addApplication(world.device, "org.a", "Alpha");
    world.calls.fail("AMDeviceLookupApplications", 4);
    EXPECT_EQ(listed(false), Texts{});
    EXPECT_EQ(listed(false), Texts{});
    EXPECT_EQ(phone.fileShareAppBundlesArray(), AppCatalogue{});
    EXPECT_EQ(world.calls.count("AMDeviceLookupApplications"), 1U);
}

TEST_F(ApplicationsTest, WithoutADeviceTheListIsEmptyAndNotKept) {
    PodPhone fresh(world.platform);
    EXPECT_TRUE(fresh.getUserAppBundlesArray(false).empty());
    EXPECT_EQ(fresh.fileShareAppBundlesArray(), std::nullopt);
    EXPECT_EQ(world.calls.count("AMDeviceLookupApplications"), 0U);
}

TEST_F(ApplicationsTest, InstalledApplicationsAreHandedOnAsTheDeviceTells) {
    attributes("org.system").insert_or_assign("ApplicationType", "System");
    store("org.system");
    EXPECT_EQ(phone.getAppBundles(&world.device), world.device.applications);
    world.calls.fail("AMDeviceLookupApplications", 4);
    EXPECT_EQ(phone.getAppBundles(&world.device), std::nullopt);
}

TEST_F(ApplicationsTest, TheFilterReadsTextsAndNumbersAsThePlatformDoes) {
    const auto isListed = [this](const PropertyValue& value) {
        phone.setFileShareAppBundlesArray(std::nullopt);
        attributes("org.a").insert_or_assign("UIFileSharingEnabled", value);
        store("org.a");
        return !listed(true).empty();
    };
    for (const char* text : {"YES", "yes", "True", "1", " +007"}) {
        EXPECT_TRUE(isListed(PropertyValue(text))) << text;
    }
    for (const char* text : {"NO", "", "0", "-", "on"}) {
        EXPECT_FALSE(isListed(PropertyValue(text))) << text;
    }
    EXPECT_TRUE(isListed(PropertyValue(1)));
    EXPECT_FALSE(isListed(PropertyValue(0)));
}

}  // namespace
}  // namespace quillbox::fakes
