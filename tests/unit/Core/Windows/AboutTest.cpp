// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/AboutThisApp.h"

#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class AboutTest : public CoreTest {
protected:
    FakeInterfaceFile& file() { return world.interfaceFiles.file("AboutThisApp"); }
};

TEST_F(AboutTest, ThereIsOneWindowAndShowingBringsTheProgramToTheFront) {
    auto& first = AboutThisApp::displayAboutThisApp();
    EXPECT_EQ(world.calls.take(),
              (Texts{"loadNibNamed AboutThisApp", "bundleVersionText = Version:2.1",
                     "arrangeInFront", "AboutThisApp showWindow", "activate ignoringOtherApps"}));
    EXPECT_EQ(&AboutThisApp::displayAboutThisApp(), &first);
    EXPECT_EQ(world.calls.count("loadNibNamed"), 0U);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(AboutTest, TheVersionStandsRightBehindTheColon) {
    world.bundle.information["CFBundleVersion"] = "3.0.1";
    AboutThisApp::displayAboutThisApp();
    EXPECT_EQ(file().textField("bundleVersionText").value, "Version:3.0.1");
}

TEST_F(AboutTest, AProgramWithoutAVersionSaysSo) {
    world.bundle.information.clear();
    AboutThisApp::displayAboutThisApp();
    EXPECT_EQ(file().textField("bundleVersionText").value, "Version:(null)");
}

TEST_F(AboutTest, ClosingHidesTheWindowWhichCanBeShownAgain) {
    AboutThisApp::displayAboutThisApp();
    EXPECT_EQ(file().selectors(), (Texts{"closeWindow:"}));
    file().perform("closeWindow:");
    EXPECT_FALSE(file().window().isVisible());
    AboutThisApp::displayAboutThisApp();
    EXPECT_TRUE(file().window().isVisible());
}

}  // namespace
}  // namespace quillbox::fakes
