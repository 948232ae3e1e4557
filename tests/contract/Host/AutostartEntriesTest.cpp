// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/AutostartEntries.h"
#include "HostTesting.h"
#include "Linux/Host/DesktopEntry.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace quillbox::host {

namespace {

class AutostartEntriesTest : public testing::Test {
protected:
    std::string program(const std::string& name) {
        writeText(folder_ / name, "#!/bin/sh\n");
        ::chmod((folder_ / name).c_str(), 0755);
        return folder_ / name;
    }

    void entry(const std::string& place, const std::string& name, const std::string& lines) {
        writeText(folder_ / (place + "/" + name), "[Desktop Entry]\nType=Application\n" + lines);
    }

    std::vector<std::string> paths() {
        std::vector<std::string> found;
        for (const auto& each : items_.snapshot()) {
            found.push_back(each.path);
        }
        return found;
    }

    std::vector<std::string> names() {
        std::vector<std::string> found;
        for (const auto& each : items_.snapshot()) {
            found.push_back(each.identifier);
        }
        return found;
    }

    TestFolder folder_;
    RememberingLog log_;
    AutostartEntries items_{
        {folder_ / "user", {folder_ / "system", folder_ / "distribution"}, {"GNOME"}}, log_};
    const std::string quillbox_ = program("quillbox");
};

using Names = std::vector<std::string>;

TEST_F(AutostartEntriesTest, WithoutFoldersThereAreNoItems) {
    EXPECT_TRUE(items_.snapshot().empty());
}

TEST_F(AutostartEntriesTest, AnAddedItemIsFoundUnderItsProgramAndRemovedAgain) {
    EXPECT_TRUE(items_.insertLast(quillbox_));
    ASSERT_EQ(paths(), Names{quillbox_});
    EXPECT_EQ(names(), Names{"org.quillbox.Quillbox.desktop"});
    const auto entry = parseDesktopEntry(readText(folder_ / "user/org.quillbox.Quillbox.desktop"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->at("TryExec"), quillbox_);
    EXPECT_EQ(entry->at("Exec"), quillbox_);
    items_.remove(items_.snapshot().front());
    EXPECT_TRUE(items_.snapshot().empty());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "user/org.quillbox.Quillbox.desktop"));
}

TEST_F(AutostartEntriesTest, FurtherItemsGoToTheEndUnderNamesOfTheirOwn) {
    entry("user", "zzz.desktop", "Exec=" + program("zzz") + "\n");
    EXPECT_TRUE(items_.insertLast(quillbox_));
    EXPECT_TRUE(items_.insertLast(program("second")));
    EXPECT_EQ(names(), (Names{"zzz.desktop", "org.quillbox.Quillbox.desktop",
                              "org.quillbox.Quillbox-2.desktop"}));
    for (int i = 3; i <= 11; ++i) {
        EXPECT_TRUE(items_.insertLast(quillbox_));
    }
    EXPECT_EQ(names().back(), "org.quillbox.Quillbox-11.desktop");
    EXPECT_EQ(names().size(), 12U);
}

TEST_F(AutostartEntriesTest, AnItemAfterARemovedOneStillGoesToTheEnd) {
    items_.insertLast(quillbox_);
    items_.insertLast(program("second"));
    items_.remove(items_.snapshot().front());
    items_.insertLast(program("third"));
    EXPECT_EQ(paths(), (Names{folder_ / "second", folder_ / "third"}));
}

TEST_F(AutostartEntriesTest, OddPathsComeBackAsTheyAre) {
    for (const std::string name : {"my apps/quill box", "100%/$(x)", "it's \"odd\"", "ü\\n"}) {
        const auto path = program(name);
        ASSERT_TRUE(items_.insertLast(path)) << name;
        EXPECT_EQ(paths().back(), path);
    }
}

TEST_F(AutostartEntriesTest, EntriesThatStartNothingDoNotCount) {
    const std::string exec = "Exec=" + quillbox_ + "\n";
    entry("user", "hidden.desktop", exec + "Hidden=true\n");
    entry("user", "disabled.desktop", exec + "X-GNOME-Autostart-enabled=false\n");
    entry("user", "elsewhere.desktop", exec + "OnlyShowIn=KDE;\n");
    entry("user", "nothere.desktop", exec + "NotShowIn=GNOME;\n");
    entry("user", "missing.desktop", exec + "TryExec=/nowhere/at/all\n");
    entry("user", "noexec.desktop", "");
    entry("user", "broken.desktop", "Exec=\"/unclosed\n");
    entry("user", "other.txt", exec);
    writeText(folder_ / "user/link.desktop", "[Desktop Entry]\nType=Link\n" + exec);
    EXPECT_TRUE(items_.snapshot().empty());
    entry("user", "counts.desktop", exec + "Hidden=false\nOnlyShowIn=XFCE;GNOME;\n");
    EXPECT_EQ(names(), Names{"counts.desktop"});
}

TEST_F(AutostartEntriesTest, TheProgramIsFoundThroughPathAndLinks) {
    const TestVariable path("PATH", (folder_ / "empty") + ":" + folder_.path());
    std::filesystem::create_symlink(quillbox_, folder_ / "alias");
    entry("user", "a.desktop", "Exec=quillbox --quiet %U\n");
    entry("user", "b.desktop", "Exec=" + (folder_ / "alias") + "\nTryExec=alias\n");
    entry("user", "c.desktop", "Exec=gone\n");
    EXPECT_EQ(paths(), (Names{quillbox_, quillbox_, "gone"}));
}

TEST_F(AutostartEntriesTest, TheUsersFileStandsForASystemWideOne) {
    entry("system", "org.quillbox.Quillbox.desktop", "Exec=" + quillbox_ + "\n");
    entry("distribution", "org.quillbox.Quillbox.desktop", "Exec=" + program("older") + "\n");
    EXPECT_EQ(paths(), Names{quillbox_});
    entry("user", "org.quillbox.Quillbox.desktop", "Exec=" + program("mine") + "\n");
    EXPECT_EQ(paths(), Names{folder_ / "mine"});
}

TEST_F(AutostartEntriesTest, ASystemWideEntryIsRemovedByHidingIt) {
    entry("system", "org.quillbox.Quillbox.desktop", "Exec=" + quillbox_ + "\n");
    items_.remove(items_.snapshot().front());
    EXPECT_TRUE(items_.snapshot().empty());
    EXPECT_TRUE(std::filesystem::exists(folder_ / "system/org.quillbox.Quillbox.desktop"));
    EXPECT_TRUE(items_.insertLast(quillbox_));
    EXPECT_EQ(names(), Names{"org.quillbox.Quillbox.desktop"});
    items_.remove(items_.snapshot().front());
    EXPECT_TRUE(items_.snapshot().empty());
}

TEST_F(AutostartEntriesTest, AFurtherEntryBesideASystemWideOneTakesTheNextName) {
    entry("system", "org.quillbox.Quillbox.desktop", "Exec=" + quillbox_ + "\n");
    EXPECT_TRUE(items_.insertLast(quillbox_));
    EXPECT_EQ(names(), (Names{"org.quillbox.Quillbox.desktop", "org.quillbox.Quillbox-2.desktop"}));
}

TEST_F(AutostartEntriesTest, AnEntryThatCannotBeWrittenIsAFailureThatIsSaid) {
    writeText(folder_ / "user", "a file in the way");
    EXPECT_FALSE(items_.insertLast(quillbox_));
    EXPECT_EQ(log_.count(LogLevel::Error), 1U);
}

TEST_F(AutostartEntriesTest, ARemovalNeverLeavesItsFolder) {
    writeText(folder_ / "precious", "x");
    std::filesystem::create_directories(folder_ / "user");
    items_.remove({"../precious", ""});
    items_.remove({"", ""});
    EXPECT_EQ(readText(folder_ / "precious"), "x");
}

}  // namespace

}  // namespace quillbox::host
