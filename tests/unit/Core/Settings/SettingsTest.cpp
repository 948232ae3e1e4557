// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Settings/CameraRollSwitch.h"
#include "Core/Settings/FirstRunDefaults.h"
#include "Core/Settings/LoginItem.h"
#include "Core/Settings/SettingsKeys.h"
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class SettingsTest : public CoreTest {
protected:
    void start() {
        setDefaultPrefsIfFirstRun(world.preferences, world.loginItems, world.bundle, world.log);
    }
};

TEST_F(SettingsTest, TheKeysAreTheTextsOnDisk) {
    EXPECT_EQ(setting_isAfterFirstRun, "isAfterFirstRun");
    EXPECT_EQ(setting_allowsAFC2Access, "allowsAFC2Access");
    EXPECT_EQ(setting_changeNameOnCopyImages2DCIM, "changeNameOnCopyImages2DCIM");
    EXPECT_EQ(setting_showWelcomeScreenOnStart, "showWelcomeScreenOnStart");
    EXPECT_EQ(setting_openQuillboxOnComputerStart, "openQuillboxOnStart");
    EXPECT_EQ(setting_appMountPathIndex, "appMountPath");
    EXPECT_EQ(setting_isOnlyShowFileSharingApp, "isOnlyShowFileSharingApp");
    EXPECT_EQ(setting_isLoadAppsIconBeforeStart, "isLoadAppsIconBeforeStart");
    EXPECT_EQ(setting_isShowAppIconWhenMounted, "isShowAppIconWhenMounted");
    EXPECT_EQ(setting_isUseCustomizeMountName, "isUseCustomizeMountName");
    EXPECT_EQ(setting_customizeMountName, "customizeMountName");
    EXPECT_EQ(setting_mountDiskMode, "setting_mountDiskMode");
    EXPECT_EQ(setting_isMountLastPoint, "isMountLastPoint");
    EXPECT_EQ(setting_lastMountPoint_appBundle, "lastMountPoint_appBundle");
}

TEST_F(SettingsTest, AFirstRunWritesExactlyThirteenValuesInOrder) {
    start();
    EXPECT_EQ(
        world.calls.take(),
        (Texts{"setObject isAfterFirstRun = 1", "setObject allowsAFC2Access = 1",
               "setObject changeNameOnCopyImages2DCIM = 0",
               "setObject showWelcomeScreenOnStart = 1", "setObject openQuillboxOnStart = 0",
               "setObject isShowAppIconWhenMounted = 1", "setObject isOnlyShowFileSharingApp = 0",
               "setObject isLoadAppsIconBeforeStart = 0", "setObject appMountPath = 0",
               "setObject isMountLastPoint = 1", "setObject isUseCustomizeMountName = 0",
               "setObject customizeMountName = Quillbox", "setObject setting_mountDiskMode = 0",
               "synchronize"}));
    EXPECT_EQ(world.preferences.values(),
              (PropertyDictionary{{"isAfterFirstRun", true},
                                  {"allowsAFC2Access", true},
                                  {"changeNameOnCopyImages2DCIM", false},
                                  {"showWelcomeScreenOnStart", true},
                                  {"openQuillboxOnStart", false},
                                  {"isShowAppIconWhenMounted", true},
                                  {"isOnlyShowFileSharingApp", false},
                                  {"isLoadAppsIconBeforeStart", false},
                                  {"appMountPath", 0},
                                  {"isMountLastPoint", true},
                                  {"isUseCustomizeMountName", false},
                                  {"customizeMountName", "Quillbox"},
                                  {"setting_mountDiskMode", 0}}));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(SettingsTest, AFirstRunSetsTheCachedFlags) {
    isOnlyShowFileSharingApp_ = true;
    isUseCustomizeMountName_ = true;
    start();
    EXPECT_TRUE(isShowAppIconWhenMounted_);
    EXPECT_TRUE(isShowWelcomeController_);
    EXPECT_FALSE(isOnlyShowFileSharingApp_);
    EXPECT_EQ(appMountPathIndex_, 0);
    EXPECT_FALSE(isLoadAppsIconBeforeStart_);
    EXPECT_TRUE(isMountLastPoint_);
    EXPECT_FALSE(isUseCustomizeMountName_);
}

TEST_F(SettingsTest, AFirstRunRemovesAStaleLoginItem) {
    world.loginItems.items = {{"1", "/usr/bin/quillbox"}};
    start();
    EXPECT_TRUE(world.loginItems.items.empty());
}

/// One item of this program, and a note of its removal among the writes of the store.
class NotedLoginItems final : public LoginItems {
public:
    explicit NotedLoginItems(CallRecord& record) : record_(record) {}

    std::vector<LoginItem> snapshot() override { return {{"1", "/usr/bin/quillbox"}}; }

    bool insertLast(const std::string& /*path*/) override { return false; }

    void remove(const LoginItem& item) override { record_.add("remove " + item.identifier); }

private:
    CallRecord& record_;
};

TEST_F(SettingsTest, AFirstRunRemovesTheLoginItemAfterItsKeyAndBeforeTheFlags) {
    NotedLoginItems items(world.calls);
    setDefaultPrefsIfFirstRun(world.preferences, items, world.bundle, world.log);
    const Texts calls = world.calls.take();
    EXPECT_EQ(calls.at(4), "setObject openQuillboxOnStart = 0");
    EXPECT_EQ(calls.at(5), "remove 1");
    EXPECT_EQ(calls.at(6), "setObject isShowAppIconWhenMounted = 1");
}

TEST_F(SettingsTest, ThePresenceOfTheKeyEndsTheFirstRunWhateverItsValue) {
    world.preferences.setObject("isAfterFirstRun", false);
    world.loginItems.items = {{"1", "/usr/bin/quillbox"}};
    world.calls.take();
    start();
    EXPECT_EQ(world.calls.take(), (Texts{"synchronize"}));
    EXPECT_EQ(world.preferences.values().size(), 1U);
    EXPECT_EQ(world.loginItems.items.size(), 1U);
    EXPECT_FALSE(isMountLastPoint_);
}

TEST_F(SettingsTest, ALaterStartLoadsTheCachedFlags) {
    world.preferences.setObject("isAfterFirstRun", true);
    for (const char* key : {"isShowAppIconWhenMounted", "showWelcomeScreenOnStart",
                            "isOnlyShowFileSharingApp", "isLoadAppsIconBeforeStart"}) {
        world.preferences.setObject(key, true);
    }
    world.preferences.setObject("appMountPath", 2);
    world.preferences.setObject("isMountLastPoint", 1);         // a number, as a reset writes it
    world.preferences.setObject("isUseCustomizeMountName", 0);  // likewise
    start();
    EXPECT_TRUE(isShowAppIconWhenMounted_);
    EXPECT_TRUE(isShowWelcomeController_);
    EXPECT_TRUE(isOnlyShowFileSharingApp_);
    EXPECT_TRUE(isLoadAppsIconBeforeStart_);
    EXPECT_EQ(appMountPathIndex_, 2);
    EXPECT_TRUE(isMountLastPoint_);
    EXPECT_FALSE(isUseCustomizeMountName_);
}

TEST_F(SettingsTest, TheFlagsAreClearUntilTheyAreLoaded) {
    EXPECT_FALSE(isShowAppIconWhenMounted_ || isShowWelcomeController_ ||
                 isOnlyShowFileSharingApp_ || isLoadAppsIconBeforeStart_ || isMountLastPoint_ ||
                 isUseCustomizeMountName_);
    EXPECT_EQ(appMountPathIndex_, 0);
}

TEST_F(SettingsTest, TheCameraRollSwitchIsReadAtEachCall) {
    EXPECT_FALSE(isChangeNameOnCopyImages2DCIM(world.preferences));
    world.preferences.setObject("changeNameOnCopyImages2DCIM", true);
    EXPECT_TRUE(isChangeNameOnCopyImages2DCIM(world.preferences));
    EXPECT_TRUE(CommonData::isChangeNameOnCopyImages2DCIM());
}

class LoginItemTest : public CoreTest {
protected:
    bool isSet() { return isStartupItem(world.loginItems, world.bundle); }

    void set(bool isStartup) {
        setStartupItem(isStartup, world.loginItems, world.bundle, world.log);
    }
};

TEST_F(LoginItemTest, TheProgramIsFoundByItsExactPath) {
    EXPECT_FALSE(isSet());
    world.loginItems.items = {{"1", "/usr/bin/Quillbox"}, {"2", "/usr/bin/quillbox-other"}};
    EXPECT_FALSE(isSet());
    world.loginItems.items.push_back({"3", "/usr/bin/quillbox"});
    EXPECT_TRUE(isSet());
}

TEST_F(LoginItemTest, AddingAppendsWithoutLookingAndLogs) {
    world.loginItems.items = {{"1", "/usr/bin/quillbox"}};
    set(true);
    ASSERT_EQ(world.loginItems.items.size(), 2U);
    EXPECT_EQ(world.loginItems.items.back().path, "/usr/bin/quillbox");
    EXPECT_EQ(world.log.take(), (Texts{"Successfully set as startup item\n"}));
}

TEST_F(LoginItemTest, AFailedAdditionIsLogged) {
    world.loginItems.canWrite = false;
    set(true);
    EXPECT_EQ(world.log.take(), (Texts{"Failed to set as startup item\n"}));
    EXPECT_FALSE(isSet());
}

TEST_F(LoginItemTest, RemovingTakesOnlyTheFirstMatch) {
    world.loginItems.items = {
        {"1", "/usr/bin/other"}, {"2", "/usr/bin/quillbox"}, {"3", "/usr/bin/quillbox"}};
    set(false);
    ASSERT_EQ(world.loginItems.items.size(), 2U);
    EXPECT_EQ(world.loginItems.items.back().identifier, "3");
    EXPECT_TRUE(isSet());
    set(false);
    EXPECT_FALSE(isSet());
    set(false);
    EXPECT_EQ(world.loginItems.items.size(), 1U);
    EXPECT_EQ(world.log.take(), Texts{});
}

}  // namespace
}  // namespace quillbox::fakes
