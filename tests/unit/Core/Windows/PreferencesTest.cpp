// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/PreferencesController.h"

#include "Fakes/World.h"

#include <algorithm>

namespace quillbox::fakes {
namespace {

class PreferencesTest : public CoreTest {
protected:
    void SetUp() override {
        PreferencesController::setDefaultPrefsIfFirstRun();
        world.calls.take();
    }

    /// The controller with its window on the screen and nothing recorded yet.
    PreferencesController& open() {
        auto& controller = PreferencesController::sharedInstance();
        controller.showPreferences();
        world.calls.take();
        world.log.take();
        return controller;
    }

    FakeInterfaceFile& file() { return world.interfaceFiles.file("Preferences"); }

    bool isOn(const std::string& outlet) { return file().checkBox(outlet).on; }

    /// What a click on a check box does.
    void click(const std::string& outlet, bool on, const std::string& selector) {
        auto& box = file().checkBox(outlet);
        box.on = on;
        file().perform(selector, &box);
    }

    bool boolean(const std::string& key) { return world.preferences.boolForKey(key); }
};

TEST_F(PreferencesTest, TheOneInstanceIsMadeAndLoggedAtTheFirstUse) {
    auto& first = PreferencesController::sharedInstance();
    EXPECT_EQ(&PreferencesController::sharedInstance(), &first);
    EXPECT_EQ(&PreferencesController::init(), &first);
    EXPECT_EQ(world.calls.count("loadNibNamed Preferences"), 1U);
    EXPECT_EQ(world.log.take(), (Texts{"sharedInstance"}));
}

TEST_F(PreferencesTest, AnInstanceThatIsThereAlreadyIsNotLogged) {
    auto& first = PreferencesController::init();
    EXPECT_EQ(&PreferencesController::sharedInstance(), &first);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(PreferencesTest, ShowingBringsTheProgramToTheFront) {
    auto& controller = PreferencesController::sharedInstance();
    world.calls.take();
    world.log.take();
    controller.showPreferences();
    EXPECT_EQ(world.calls.take(),
              (Texts{"arrangeInFront", "Preferences showWindow", "activate ignoringOtherApps"}));
    EXPECT_EQ(world.log.take(), (Texts{"showPreferences"}));
}

TEST_F(PreferencesTest, TheControlsAreFilledInOrder) {
    PreferencesController::init();
    EXPECT_EQ(world.calls.take(),
              (Texts{"loadNibNamed Preferences", "chkBx_openQuillboxOnComputerStart = off",
                     "chkBx_allowsAFC2Access = on", "chkBx_changeNameOnCopyImages2DCIM = off",
                     "chkBx_isOnlyShowFileSharingApp = off",
                     "chkBx_isLoadAppsIconBeforeStart = off", "popbtn_appMountPathIndex = 0",
                     "chkBx_isShowAppIconWhenMounted = on", "chkBx_isMountLastPoint = on",
                     "chkBx_isUseCustomizeMountName = off", "tf_customizeMountName = Quillbox",
                     "tf_customizeMountName = disabled", "seg_mountMode = 0"}));
}

TEST_F(PreferencesTest, TheControlsShowWhatTheStoreHolds) {
    for (const auto& [key, value] : PropertyDictionary{{"allowsAFC2Access", false},
                                                       {"changeNameOnCopyImages2DCIM", true},
                                                       {"isOnlyShowFileSharingApp", true},
                                                       {"isLoadAppsIconBeforeStart", true},
                                                       {"appMountPath", 1},
                                                       {"isShowAppIconWhenMounted", false},
                                                       {"isMountLastPoint", 0},
                                                       {"isUseCustomizeMountName", 1},
                                                       {"customizeMountName", "My Phone"},
                                                       {"setting_mountDiskMode", 1}}) {
        world.preferences.setObject(key, value);
    }
    PreferencesController::init();
    EXPECT_FALSE(isOn("chkBx_allowsAFC2Access"));
    EXPECT_TRUE(isOn("chkBx_changeNameOnCopyImages2DCIM"));
    EXPECT_TRUE(isOn("chkBx_isOnlyShowFileSharingApp"));
    EXPECT_TRUE(isOn("chkBx_isLoadAppsIconBeforeStart"));
    EXPECT_EQ(file().popUpButton("popbtn_appMountPathIndex").index, 1);
    EXPECT_FALSE(isOn("chkBx_isShowAppIconWhenMounted"));
    EXPECT_FALSE(isOn("chkBx_isMountLastPoint"));
    EXPECT_TRUE(isOn("chkBx_isUseCustomizeMountName"));
    EXPECT_EQ(file().textField("tf_customizeMountName").value, "My Phone");
    EXPECT_TRUE(file().textField("tf_customizeMountName").isEnabled());
    EXPECT_EQ(file().segmentedControl("seg_mountMode").segment, 1);
}

TEST_F(PreferencesTest, AnEmptyStoreShowsAsOffAndEmpty) {
    world.preferences.removeAllObjects();
    PreferencesController::init();
    EXPECT_FALSE(isOn("chkBx_allowsAFC2Access"));
    EXPECT_EQ(file().textField("tf_customizeMountName").value, "");
    EXPECT_EQ(file().popUpButton("popbtn_appMountPathIndex").index, 0);
}

TEST_F(PreferencesTest, OpenAtLoginShowsTheRealLoginItem) {
    world.preferences.setObject("openQuillboxOnStart", true);
    PreferencesController::init().awakeFromNib();
    EXPECT_FALSE(isOn("chkBx_openQuillboxOnComputerStart"));
    world.preferences.setObject("openQuillboxOnStart", false);
    world.loginItems.insertLast("/usr/bin/quillbox");
    PreferencesController::init().awakeFromNib();
    EXPECT_TRUE(isOn("chkBx_openQuillboxOnComputerStart"));
}

TEST_F(PreferencesTest, EveryActionHasItsSelector) {
    open();
    EXPECT_EQ(file().selectors(),
              (Texts{"allowsAFC2Access:", "appMountPathChanged:", "changeNameOnCopyImages2DCIM:",
                     "chkBxChanged:", "loadAppsIconBeforeStartChanged:", "mountDiskModeChanged:",
                     "mountLastPoint:", "onlyShowFileSharingAppChanged:", "resetSettings:",
                     "showAppIconWhenMountedChanged:", "useCustomizeMountNameChanged:"}));
}

TEST_F(PreferencesTest, OpenAtLoginIsStoredThenTheLoginItemChanges) {
    open();
    click("chkBx_openQuillboxOnComputerStart", true, "chkBxChanged:");
    EXPECT_EQ(world.calls.take(), (Texts{"setObject openQuillboxOnStart = 1", "synchronize"}));
    ASSERT_EQ(world.loginItems.items.size(), 1U);
    EXPECT_EQ(world.log.take(), (Texts{"chkBxChanged:", "Successfully set as startup item\n"}));
    click("chkBx_openQuillboxOnComputerStart", false, "chkBxChanged:");
    EXPECT_EQ(world.calls.take(), (Texts{"setObject openQuillboxOnStart = 0", "synchronize"}));
    EXPECT_TRUE(world.loginItems.items.empty());
}

TEST_F(PreferencesTest, ALoginItemThatCannotBeWrittenLeavesTheBoxAsItIs) {
    open();
    world.loginItems.canWrite = false;
    click("chkBx_openQuillboxOnComputerStart", true, "chkBxChanged:");
    EXPECT_TRUE(isOn("chkBx_openQuillboxOnComputerStart"));
    EXPECT_EQ(world.log.take(), (Texts{"chkBxChanged:", "Failed to set as startup item\n"}));
}

TEST_F(PreferencesTest, AllowingTheWholeFileSystemSwitchesCameraRollNamesOff) {
    world.preferences.setObject("allowsAFC2Access", false);
    world.preferences.setObject("changeNameOnCopyImages2DCIM", true);
    open();
    click("chkBx_allowsAFC2Access", true, "allowsAFC2Access:");
    EXPECT_EQ(world.calls.take(),
              (Texts{"setObject allowsAFC2Access = 1", "setObject changeNameOnCopyImages2DCIM = 0",
                     "chkBx_changeNameOnCopyImages2DCIM = off", "synchronize"}));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(PreferencesTest, CameraRollNamesSwitchTheWholeFileSystemOff) {
    open();
    click("chkBx_changeNameOnCopyImages2DCIM", true, "changeNameOnCopyImages2DCIM:");
    EXPECT_EQ(world.calls.take(),
              (Texts{"setObject changeNameOnCopyImages2DCIM = 1", "chkBx_allowsAFC2Access = off",
                     "setObject allowsAFC2Access = 0", "synchronize"}));
    EXPECT_FALSE(boolean("allowsAFC2Access"));
    EXPECT_FALSE(isOn("chkBx_allowsAFC2Access"));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(PreferencesTest, SwitchingEitherOfTheTwoOffLeavesTheOtherAlone) {
    open();
    click("chkBx_allowsAFC2Access", false, "allowsAFC2Access:");
    EXPECT_EQ(world.calls.take(), (Texts{"setObject allowsAFC2Access = 0", "synchronize"}));
    click("chkBx_changeNameOnCopyImages2DCIM", false, "changeNameOnCopyImages2DCIM:");
    EXPECT_EQ(world.calls.take(),
              (Texts{"setObject changeNameOnCopyImages2DCIM = 0", "synchronize"}));
    EXPECT_FALSE(boolean("allowsAFC2Access"));
    EXPECT_FALSE(boolean("changeNameOnCopyImages2DCIM"));
}

TEST_F(PreferencesTest, TheCustomNameIsKeptWithItsSwitch) {
    open();
    file().textField("tf_customizeMountName").editInProgress = "Typed";
    click("chkBx_isUseCustomizeMountName", true, "useCustomizeMountNameChanged:");
    EXPECT_EQ(world.calls.take(), (Texts{"setObject isUseCustomizeMountName = 1",
                                         "setObject customizeMountName = Typed",
                                         "tf_customizeMountName = enabled", "synchronize"}));
    EXPECT_TRUE(isUseCustomizeMountName_);
    EXPECT_EQ(world.log.take(),
              (Texts{"useCustomizeMountNameChanged:", "isUseCustomizeMountName_:1"}));
    click("chkBx_isUseCustomizeMountName", false, "useCustomizeMountNameChanged:");
    EXPECT_FALSE(file().textField("tf_customizeMountName").isEnabled());
    EXPECT_FALSE(isUseCustomizeMountName_);
}

TEST_F(PreferencesTest, TheIconSwitchLogsTheValueOfTheFileSharingFlag) {
    open();
    isOnlyShowFileSharingApp_ = true;
    click("chkBx_isShowAppIconWhenMounted", false, "showAppIconWhenMountedChanged:");
    EXPECT_FALSE(isShowAppIconWhenMounted_);
    EXPECT_EQ(world.calls.take(), (Texts{"setObject isShowAppIconWhenMounted = 0", "synchronize"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"showAppIconWhenMountedChanged:", "isShowAppIconWhenMounted_:1"}));
}

TEST_F(PreferencesTest, ListingFileSharingApplicationsOnlyIsCachedAndStored) {
    open();
    click("chkBx_isOnlyShowFileSharingApp", true, "onlyShowFileSharingAppChanged:");
    EXPECT_TRUE(isOnlyShowFileSharingApp_);
    EXPECT_EQ(world.calls.take(), (Texts{"setObject isOnlyShowFileSharingApp = 1", "synchronize"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"onlyShowFileSharingAppChanged:", "isOnlyShowFileSharingApp_:1"}));
}

TEST_F(PreferencesTest, LoadingPicturesAtArrivalIsCachedAndStored) {
    open();
    click("chkBx_isLoadAppsIconBeforeStart", true, "loadAppsIconBeforeStartChanged:");
    EXPECT_TRUE(isLoadAppsIconBeforeStart_);
    EXPECT_EQ(world.calls.take(),
              (Texts{"setObject isLoadAppsIconBeforeStart = 1", "synchronize"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"loadAppsIconBeforeStartChanged:", "isLoadAppsIconBeforeStart_:1"}));
}

TEST_F(PreferencesTest, TheApplicationPathIsTheChosenItemsIndex) {
    open();
    file().popUpButton("popbtn_appMountPathIndex").index = 1;
    file().perform("appMountPathChanged:");
    EXPECT_EQ(appMountPathIndex_, 1);
    EXPECT_EQ(world.calls.take(), (Texts{"setObject appMountPath = 1", "synchronize"}));
    EXPECT_EQ(world.log.take(), (Texts{"appMountPathChanged:", "appMountPathIndex_:1"}));
}

TEST_F(PreferencesTest, ComingBackToTheLastRootIsCachedAndStored) {
    open();
    click("chkBx_isMountLastPoint", false, "mountLastPoint:");
    EXPECT_FALSE(isMountLastPoint_);
    EXPECT_EQ(world.calls.take(), (Texts{"setObject isMountLastPoint = 0", "synchronize"}));
    EXPECT_EQ(world.log.take(), (Texts{"mountLastPoint:", "isMountLastPoint_:0"}));
}

TEST_F(PreferencesTest, TheMountModeIsStoredBeforeTheAlertSaysSo) {
    open();
    file().segmentedControl("seg_mountMode").segment = 1;
    file().perform("mountDiskModeChanged:");
    EXPECT_EQ(world.calls.take(), (Texts{"setObject setting_mountDiskMode = 1", "synchronize",
                                         "Preferences beginAlertSheet"}));
    EXPECT_EQ(world.log.take(), (Texts{"mountDiskModeChanged:", "mountDiskMode:1"}));
    const auto& [alert, didEnd] = file().window().alerts.at(0);
    EXPECT_EQ(
        alert,
        (Alert{"Mount disk mode was changed.", "This need re-mount disk to take effect!", {"OK"}}));
}

TEST_F(PreferencesTest, TheAlertComesEachTimeAndItsEndDoesNothing) {
    open();
    for (int click = 0; click < 3; ++click) {
        file().perform("mountDiskModeChanged:");
    }
    ASSERT_EQ(file().window().alerts.size(), 3U);
    world.calls.take();
    world.log.take();
    for (const int code : {0, 1, 1000, -1}) {
        file().window().alerts.at(0).second(code);
    }
    EXPECT_EQ(world.calls.take(), Texts{});
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(PreferencesTest, NoOtherSettingWarns) {
    open();
    for (const auto& selector : file().selectors()) {
        if (selector != "mountDiskModeChanged:") {
            file().perform(selector);
        }
    }
    EXPECT_TRUE(file().window().alerts.empty());
}

TEST_F(PreferencesTest, ClosingCommitsAndKeepsATypedName) {
    open();
    file().textField("tf_customizeMountName").editInProgress = "Half typed";
    file().window().close();
    EXPECT_EQ(world.calls.take(),
              (Texts{"Preferences makeFirstResponder",
                     "setObject customizeMountName = \"Half typed\"", "synchronize"}));
    EXPECT_EQ(world.log.take(), (Texts{"windowWillClose:"}));
    EXPECT_FALSE(boolean("isUseCustomizeMountName"));
}

TEST_F(PreferencesTest, TypingAloneStoresNothing) {
    open();
    file().textField("tf_customizeMountName").editInProgress = "Half typed";
    EXPECT_EQ(world.preferences.stringForKey("customizeMountName"), "Quillbox");
}

TEST_F(PreferencesTest, ResettingRestoresSettingsFlagsLoginItemAndControls) {
    open();
    world.loginItems.insertLast("/usr/bin/quillbox");
    world.preferences.setObject("isAfterFirstRun", false);
    world.preferences.setObject("lastMountPoint_appBundle", "org.example.notes");
    click("chkBx_changeNameOnCopyImages2DCIM", true, "changeNameOnCopyImages2DCIM:");
    click("chkBx_isMountLastPoint", false, "mountLastPoint:");
    click("chkBx_isUseCustomizeMountName", true, "useCustomizeMountNameChanged:");
    file().textField("tf_customizeMountName").value = "Mine";
    file().popUpButton("popbtn_appMountPathIndex").index = 1;
    file().perform("appMountPathChanged:");
    world.preferences.setObject("showWelcomeScreenOnStart", false);
    isShowWelcomeController_ = false;
    world.calls.take();
    file().perform("resetSettings:");

    const Texts calls = world.calls.take();
    const auto flushed = std::find(calls.begin(), calls.end(), "synchronize");
    EXPECT_EQ(
        Texts(calls.begin(), flushed),
        (Texts{"setObject allowsAFC2Access = 1", "setObject changeNameOnCopyImages2DCIM = 0",
               "setObject showWelcomeScreenOnStart = 1", "setObject openQuillboxOnStart = 0",
               "setObject isShowAppIconWhenMounted = 1", "setObject isOnlyShowFileSharingApp = 0",
               "setObject isLoadAppsIconBeforeStart = 0", "setObject appMountPath = 0",
               "setObject isMountLastPoint = 1", "setObject isUseCustomizeMountName = 0",
               "setObject customizeMountName = Quillbox", "setObject setting_mountDiskMode = 0"}));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "synchronize"), 1);
    EXPECT_EQ(*(flushed + 1), "chkBx_openQuillboxOnComputerStart = off");
    EXPECT_TRUE(world.loginItems.items.empty());
    EXPECT_TRUE(isOn("chkBx_allowsAFC2Access"));
    EXPECT_TRUE(isOn("chkBx_isMountLastPoint"));
    EXPECT_EQ(file().textField("tf_customizeMountName").value, "Quillbox");
    EXPECT_FALSE(file().textField("tf_customizeMountName").isEnabled());
    EXPECT_EQ(file().popUpButton("popbtn_appMountPathIndex").index, 0);
    EXPECT_TRUE(isMountLastPoint_);
    EXPECT_TRUE(isShowWelcomeController_);
    EXPECT_TRUE(isShowAppIconWhenMounted_);
    EXPECT_FALSE(isUseCustomizeMountName_);
    EXPECT_EQ(appMountPathIndex_, 0);
    EXPECT_EQ(world.preferences.stringForKey("lastMountPoint_appBundle"), "org.example.notes");
    EXPECT_EQ(world.preferences.objectForKey("isAfterFirstRun"), PropertyValue(false));
}

TEST_F(PreferencesTest, ResettingStoresTwoFlagsAsIntegersThatTheNextStartReads) {
    open();
    file().perform("resetSettings:");
    EXPECT_EQ(world.preferences.objectForKey("isMountLastPoint"), PropertyValue(1));
    EXPECT_EQ(world.preferences.objectForKey("isUseCustomizeMountName"), PropertyValue(0));
    EXPECT_EQ(world.preferences.objectForKey("isShowAppIconWhenMounted"), PropertyValue(true));
    clearCachedFlags();
    PreferencesController::setDefaultPrefsIfFirstRun();
    EXPECT_TRUE(isMountLastPoint_);
    EXPECT_FALSE(isUseCustomizeMountName_);
}

TEST_F(PreferencesTest, AResetOfAnEmptyStoreDoesNotMarkTheFirstRunAsDone) {
    open();
    world.preferences.removeAllObjects();
    file().perform("resetSettings:");
    EXPECT_EQ(world.preferences.objectForKey("isAfterFirstRun"), std::nullopt);
    EXPECT_EQ(world.preferences.values().size(), 12U);
}

}  // namespace
}  // namespace quillbox::fakes
