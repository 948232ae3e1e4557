// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostTesting.h"
#include "Linux/Host/HeadlessDesktop.h"
#include "Linux/Host/HeadlessWindows.h"
#include "Linux/Host/HeadlessWorkspace.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace quillbox::host {
namespace {

std::vector<std::string> textsOf(const RememberingLog& log) {
    std::vector<std::string> texts;
    for (const auto& [level, text] : log.entries()) {
        texts.push_back(text);
    }
    return texts;
}

class HeadlessWindowsTest : public ::testing::Test {
protected:
    RememberingLog log;
    HeadlessWindows windows{log};
    std::unique_ptr<InterfaceFile> file = windows.loadNibNamed("Preferences");
};

TEST_F(HeadlessWindowsTest, ControlsKeepWhatTheyAreGiven) {
    auto& box = file->checkBox("chkBx_a");
    EXPECT_FALSE(box.state());
    box.setState(true);
    EXPECT_TRUE(file->checkBox("chkBx_a").state());
    file->textField("tf_a").setStringValue("text");
    EXPECT_EQ(file->textField("tf_a").stringValue(), "text");
    EXPECT_TRUE(file->textField("tf_a").isEnabled());
    file->textField("tf_a").setEnabled(false);
    EXPECT_FALSE(file->textField("tf_a").isEnabled());
    EXPECT_EQ(file->popUpButton("popbtn_a").indexOfSelectedItem(), -1);
    file->popUpButton("popbtn_a").selectItemAtIndex(1);
    EXPECT_EQ(file->popUpButton("popbtn_a").indexOfSelectedItem(), 1);
    file->segmentedControl("seg_a").setSelectedSegment(2);
    EXPECT_EQ(file->segmentedControl("seg_a").selectedSegment(), 2);
}

TEST_F(HeadlessWindowsTest, ANameBelongsToOneKindOfControl) {
    file->checkBox("a");
    EXPECT_THROW(file->textField("a"), std::logic_error);
}

TEST_F(HeadlessWindowsTest, AWindowIsNeverOnTheScreen) {
    file->window().showWindow(nullptr);
    EXPECT_FALSE(file->window().isVisible());
    file->window().beginSheet(file->window("win_sheet"));
    EXPECT_FALSE(file->window("win_sheet").isVisible());
    file->window().performClose(nullptr);
    EXPECT_EQ(textsOf(log).size(), 1U);
}

TEST_F(HeadlessWindowsTest, AnAlertIsALogLineAndEndsWithItsDefaultButton) {
    int ended = -1;
    file->window().beginAlertSheet({"Something changed.", "Do this.", {"OK"}},
                                   [&ended](int code) { ended = code; });
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(textsOf(log), (std::vector<std::string>{"Something changed. Do this."}));
}

TEST(HeadlessDesktopTest, ThereIsNoTrayAndTheProgramCanBeEnded) {
    EXPECT_EQ(HeadlessStatusBar().makeStatusItem({}), nullptr);
    int ends = 0;
    HeadlessApplication application([&ends] { ++ends; });
    application.arrangeInFront();
    application.activate(true);
    EXPECT_EQ(ends, 0);
    application.terminate();
    EXPECT_EQ(ends, 1);
}

TEST(HeadlessDesktopTest, WhatWouldBeShownIsTold) {
    RememberingLog log;
    HeadlessWorkspace workspace(log);
    workspace.openURL("https://help.example/");
    workspace.offerToShow("Title", "message", "/folder");
    EXPECT_EQ(textsOf(log),
              (std::vector<std::string>{"No browser is available to show https://help.example/.",
                                        "Title: message"}));
}

}  // namespace
}  // namespace quillbox::host
