// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/DesktopEntry.h"

#include <gtest/gtest.h>

namespace quillbox::host {

namespace {

using Words = std::vector<std::string>;

TEST(DesktopEntryTest, ReadsTheOneGroupThatCounts) {
    const auto entry = parseDesktopEntry("# a comment\n[Desktop Entry]\nName = Quill box \n"
                                         "Name[de]=Federkasten\n\nHidden=true\r\n"
                                         "[Desktop Action x]\nName=Other\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->at("Name"), "Quill box");
    EXPECT_TRUE(isTrue(*entry, "Hidden"));
    EXPECT_FALSE(isTrue(*entry, "Name"));
    EXPECT_EQ(entry->size(), 2U);
}

TEST(DesktopEntryTest, ATextWithoutTheGroupIsNone) {
    EXPECT_FALSE(parseDesktopEntry(""));
    EXPECT_FALSE(parseDesktopEntry("Name=x\n[Other]\n"));
}

TEST(DesktopEntryTest, ListsComeInTheirParts) {
    const auto entry = parseDesktopEntry("[Desktop Entry]\nOnlyShowIn=GNOME;KDE;\n");
    EXPECT_EQ(listValue(*entry, "OnlyShowIn"), (Words{"GNOME", "KDE"}));
    EXPECT_TRUE(listValue(*entry, "NotShowIn").empty());
}

TEST(DesktopEntryTest, EscapedValuesComeBack) {
    for (const std::string text : {"plain", " both ends ", "a\nb\tc\rd", "back\\slash\\n", "\\"}) {
        const auto entry = parseDesktopEntry("[Desktop Entry]\nKey=" + escapedValue(text) + "\n");
        EXPECT_EQ(entry->at("Key"), text);
    }
}

TEST(ExecTest, SplitsAtBlanksAndUndoesQuotes) {
    EXPECT_EQ(parseExec("/usr/bin/a  b\tc"), (Words{"/usr/bin/a", "b", "c"}));
    EXPECT_EQ(parseExec(R"("/opt/my apps/a" "" "x \" \$ \` \\ y")"),
              (Words{"/opt/my apps/a", "", "x \" $ ` \\ y"}));
    EXPECT_EQ(parseExec(""), Words{});
}

TEST(ExecTest, FieldCodesAreDroppedAndDoubledPercentSignsAreOne) {
    EXPECT_EQ(parseExec("a %U --name=%c %% 100%%"), (Words{"a", "--name=", "%", "100%"}));
}

TEST(ExecTest, AnOpenQuoteIsAnError) {
    EXPECT_FALSE(parseExec("\"a b"));
}

TEST(ExecTest, WhatIsQuotedIsReadBack) {
    for (const std::string path :
         {"/usr/bin/quillbox", "/opt/my apps/a", "/a\"b", "/a$b`c", "/a\\b", "/100%/x", "/a;b&c",
          "/übung/日本", "/it's", "/%U", ""}) {
        EXPECT_EQ(parseExec(quotedForExec(path)), Words{path}) << path;
    }
    EXPECT_EQ(quotedForExec("/usr/bin/quillbox"), "/usr/bin/quillbox");
}

}  // namespace

}  // namespace quillbox::host
