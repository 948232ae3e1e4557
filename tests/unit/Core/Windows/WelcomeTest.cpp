// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/WelcomeController.h"

#include "Core/Windows/PreferencesController.h"
#include "Volumes/DeviceTest.h"

namespace quillbox::fakes {
namespace {

class WelcomeTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        PreferencesController::setDefaultPrefsIfFirstRun();
        WelcomeController::displayWelcomeWindow();
        world.calls.take();
        world.log.take();
    }

    FakeInterfaceFile& file() { return world.interfaceFiles.file("Welcome"); }
};

TEST_F(WelcomeTest, ThereIsOneWindowAndShowingBringsTheProgramToTheFront) {
    auto& first = WelcomeController::displayWelcomeWindow();
    EXPECT_EQ(world.calls.take(),
              (Texts{"arrangeInFront", "Welcome showWindow", "activate ignoringOtherApps"}));
    EXPECT_EQ(&WelcomeController::displayWelcomeWindow(), &first);
    EXPECT_EQ(world.calls.count("loadNibNamed"), 0U);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(WelcomeTest, ItIsFilledWhenItIsLoaded) {
    EXPECT_TRUE(file().checkBox("chkBx_showMenuOnStart").on);
    EXPECT_EQ(file().button("continueBtn").title, "Hide & Continue");
    WelcomeController::resetSharedInstance();
    world.preferences.setObject("showWelcomeScreenOnStart", false);
    WelcomeController::displayWelcomeWindow();
    EXPECT_FALSE(file().checkBox("chkBx_showMenuOnStart").on);
}

TEST_F(WelcomeTest, TheCheckBoxIsStoredAtOnceAndNotCached) {
    file().checkBox("chkBx_showMenuOnStart").on = false;
    file().perform("chkBx_Changed:");
    EXPECT_EQ(world.calls.take(), (Texts{"setObject showWelcomeScreenOnStart = 0", "synchronize"}));
    EXPECT_TRUE(isShowWelcomeController_);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(WelcomeTest, TheContinueButtonClosesTheWindowWhichCanBeShownAgain) {
    file().perform("hideAndContinue:", &file().button("continueBtn"));
    EXPECT_EQ(world.calls.take(), (Texts{"Welcome performClose sender"}));
    EXPECT_FALSE(file().window().isVisible());
    WelcomeController::displayWelcomeWindow();
    EXPECT_TRUE(file().window().isVisible());
}

TEST_F(WelcomeTest, ThePreferencesButtonOpensThePreferences) {
    file().perform("chkBx_Preferences:");
    EXPECT_TRUE(world.interfaceFiles.file("Preferences").window().isVisible());
    EXPECT_TRUE(file().window().isVisible());
    EXPECT_EQ(world.log.take(), (Texts{"sharedInstance", "showPreferences"}));
}

TEST_F(WelcomeTest, RevealShowsEveryMountedVolume) {
    const auto mounted = attachAndMount(world.device);
    attach(second);
    world.workspace.opened.clear();
    file().perform("chkBx_revealInFinder:");
    EXPECT_EQ(world.workspace.opened, (Texts{mounted->myMountPath()}));
}

TEST_F(WelcomeTest, ResettingEmptiesTheStoreAndNothingElse) {
    world.preferences.setObject("lastMountPoint_appBundle", "org.example.notes");
    world.preferences.setObject("UDID1", PropertyDictionary{{"tag", 11}});
    PreferencesController::init();
    world.loginItems.insertLast("/usr/bin/quillbox");
    world.calls.take();
    file().perform("resetUserDefaults:");
    EXPECT_EQ(world.preferences.values(), PropertyDictionary{});
    EXPECT_EQ(world.calls.take(), (Texts{"synchronize"}));
    EXPECT_TRUE(isMountLastPoint_);
    EXPECT_TRUE(isShowAppIconWhenMounted_);
    EXPECT_TRUE(file().checkBox("chkBx_showMenuOnStart").on);
    EXPECT_TRUE(world.interfaceFiles.file("Preferences").checkBox("chkBx_isMountLastPoint").on);
    EXPECT_EQ(world.loginItems.items.size(), 1U);
    EXPECT_TRUE(world.workspace.alerts.empty());
    EXPECT_TRUE(file().window().alerts.empty());
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(WelcomeTest, AfterAWipeTheNextStartIsAFirstRun) {
    world.preferences.setObject("customizeMountName", "Mine");
    world.preferences.setObject("lastMountPoint_appBundle", "org.example.notes");
    file().perform("resetUserDefaults:");
    clearCachedFlags();
    PreferencesController::setDefaultPrefsIfFirstRun();
    EXPECT_EQ(world.preferences.values().size(), 13U);
    EXPECT_EQ(world.preferences.stringForKey("customizeMountName"), "Quillbox");
    EXPECT_EQ(world.preferences.objectForKey("lastMountPoint_appBundle"), std::nullopt);
    EXPECT_TRUE(isShowWelcomeController_);
}

TEST_F(WelcomeTest, EveryActionHasItsSelector) {
    EXPECT_EQ(file().selectors(),
              (Texts{"chkBx_Changed:", "chkBx_Preferences:", "chkBx_revealInFinder:",
                     "hideAndContinue:", "resetUserDefaults:"}));
}

}  // namespace
}  // namespace quillbox::fakes
