// SPDX-License-Identifier: GPL-3.0-or-later
#include "HostTesting.h"
#include "Linux/Host/HeadlessWorkspace.h"
#include "Linux/Host/LocaleCollation.h"
#include "Linux/Host/ProgramBundle.h"
#include "Linux/Host/UserFolders.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace quillbox::host {

namespace {

TEST(ProgramBundleTest, KnowsItsOwnProgram) {
    const ProgramBundle bundle;
    EXPECT_EQ(bundle.bundlePath(), std::filesystem::canonical("/proc/self/exe"));
    EXPECT_EQ(std::filesystem::path(bundle.siblingProgram("other")).parent_path(),
              std::filesystem::path(bundle.bundlePath()).parent_path());
    EXPECT_FALSE(bundle.pathForResource("no such picture", "png"));
    EXPECT_FALSE(bundle.operatingSystemVersionString().empty());
}

TEST(ProgramBundleTest, ResourcesComeFromTheFirstFolderThatHasThem) {
    const TestFolder folder;
    writeText(folder / "b/picture.png", "");
    writeText(folder / "a/both.png", "");
    writeText(folder / "b/both.png", "");
    writeText(folder / "a/plain", "");
    const ProgramBundle bundle("/x", {folder / "a", folder / "b"}, {});
    EXPECT_EQ(bundle.pathForResource("picture", "png"), folder / "b/picture.png");
    EXPECT_EQ(bundle.pathForResource("both", "png"), folder / "a/both.png");
    EXPECT_EQ(bundle.pathForResource("plain", ""), folder / "a/plain");
    EXPECT_FALSE(bundle.pathForResource("picture", "jpg"));
    EXPECT_FALSE(bundle.pathForResource("..", ""));
}

TEST(ProgramBundleTest, TheSystemsNameIsThePrettyOne) {
    const TestFolder folder;
    writeText(folder / "one", "NAME=x\nPRETTY_NAME=\"Debian \\\"12\\\"\"\n");
    writeText(folder / "two", "PRETTY_NAME='Plain Linux'\n");
    writeText(folder / "three", "PRETTY_NAME=Word\n");
    const auto name = [](std::vector<std::string> files) {
        return ProgramBundle("/x", {}, std::move(files)).operatingSystemVersionString();
    };
    EXPECT_EQ(name({folder / "missing", folder / "one"}), "Debian \"12\"");
    EXPECT_EQ(name({folder / "two"}), "Plain Linux");
    EXPECT_EQ(name({folder / "three"}), "Word");
    EXPECT_TRUE(name({}).starts_with("Linux"));
}

TEST(LocaleCollationTest, CaseMakesNoDifferenceAndAccentsDo) {
    const LocaleCollation order("en_US.UTF-8");
    EXPECT_EQ(order.localizedCaseInsensitiveCompare("Camera", "cAMERA"), 0);
    EXPECT_LT(order.localizedCaseInsensitiveCompare("apple", "Banana"), 0);
    EXPECT_GT(order.localizedCaseInsensitiveCompare("zebra", "Éclair"), 0);
    EXPECT_NE(order.localizedCaseInsensitiveCompare("resume", "résumé"), 0);
    EXPECT_EQ(order.localizedCaseInsensitiveCompare("", ""), 0);
    EXPECT_LT(order.localizedCaseInsensitiveCompare("", "a"), 0);
}

TEST(LocaleCollationTest, TheLanguageDecides) {
    EXPECT_GT(LocaleCollation("sv_SE.UTF-8").localizedCaseInsensitiveCompare("ä", "z"), 0);
    EXPECT_LT(LocaleCollation("de_DE").localizedCaseInsensitiveCompare("ä", "z"), 0);
    EXPECT_EQ(LocaleCollation("C").localizedCaseInsensitiveCompare("Ä", "ä"), 0);
    EXPECT_LT(LocaleCollation("").localizedCaseInsensitiveCompare("a", "B"), 0);
}

TEST(HeadlessWorkspaceTest, WhatWouldBeShownIsInTheLog) {
    RememberingLog log;
    HeadlessWorkspace workspace(log);
    workspace.runAlert("Mount failed", "The device is busy.");
    workspace.openFile("/Volumes/Blue Phone");
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].second, "Mount failed: The device is busy.");
    EXPECT_NE(entries[1].second.find("/Volumes/Blue Phone"), std::string::npos);
}

TEST(UserFoldersTest, FollowTheEnvironmentAndDistrustOpenFolders) {
    const TestFolder folder;
    const TestVariable temporary("TMPDIR", folder.path());
    std::filesystem::create_directory(folder / "run");
    ::chmod((folder / "run").c_str(), 0755);
    const TestVariable runtime("XDG_RUNTIME_DIR", folder / "run");
    const std::string own = folder / ("quillbox-" + std::to_string(::geteuid()));
    EXPECT_EQ(runtimeFolder(), own);
    ::chmod((folder / "run").c_str(), 0700);
    EXPECT_EQ(runtimeFolder(), folder / "run");
    ::chmod(own.c_str(), 0777);
    const TestVariable unset("XDG_RUNTIME_DIR", "");
    EXPECT_EQ(runtimeFolder(), "");
}

}  // namespace

}  // namespace quillbox::host
