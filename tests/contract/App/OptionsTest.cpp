// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Options.h"

#include <gtest/gtest.h>

namespace quillbox::app {

namespace {

Options good(const std::vector<std::string>& arguments) {
    const auto parsed = parseOptions(arguments);
    EXPECT_FALSE(parsed.error) << *parsed.error;
    return parsed.options;
}

std::string bad(const std::vector<std::string>& arguments) {
    return parseOptions(arguments).error.value_or("nothing wrong");
}

TEST(OptionsTest, WithoutArgumentsEverythingIsAsUsual) {
    const auto options = good({});
    EXPECT_FALSE(options.headless);
    EXPECT_FALSE(options.simulate);
    EXPECT_FALSE(options.volumes);
    EXPECT_FALSE(options.preferences);
    EXPECT_EQ(options.logLevel, LogLevel::Info);
    EXPECT_FALSE(options.help);
    EXPECT_FALSE(options.version);
}

TEST(OptionsTest, ValuesComeBehindABlankOrAnEqualsSign) {
    const auto options =
        good({"--headless", "--volumes", "/a b", "--preferences=/p=q", "--log-level", "debug"});
    EXPECT_TRUE(options.headless);
    EXPECT_EQ(options.volumes, "/a b");
    EXPECT_EQ(options.preferences, "/p=q");
    EXPECT_EQ(options.logLevel, LogLevel::Debug);
    EXPECT_TRUE(good({"--help"}).help);
    EXPECT_TRUE(good({"--version"}).version);
}

TEST(OptionsTest, TheFolderOfTheSimulatedPhoneIsAttachedOrLeftOut) {
    EXPECT_TRUE(good({"--simulate"}).simulate);
    EXPECT_EQ(good({"--simulate"}).simulatedMedia, "");
    EXPECT_EQ(good({"--simulate=/media"}).simulatedMedia, "/media");
    EXPECT_EQ(good({"--simulate", "--simulate=/media"}).simulatedMedia, "/media");
    EXPECT_EQ(bad({"--simulate", "/media"}), "unexpected argument /media");
}

TEST(OptionsTest, ALaterOptionWins) {
    EXPECT_EQ(good({"--volumes", "/a", "--volumes=/b"}).volumes, "/b");
    EXPECT_EQ(good({"--log-level=error", "--log-level=info"}).logLevel, LogLevel::Info);
}

TEST(OptionsTest, WhatIsWrongIsNamed) {
    EXPECT_EQ(bad({"--no-such-option"}), "unknown option --no-such-option");
    EXPECT_EQ(bad({"word"}), "unexpected argument word");
    EXPECT_EQ(bad({""}), "unexpected argument ");
    EXPECT_EQ(bad({"-x"}), "unknown option -x");
    EXPECT_EQ(bad({"list", "more"}), "unexpected argument more after list");
    EXPECT_EQ(bad({"mount"}), "mount needs a device: its identifier, serial number or name");
    EXPECT_EQ(bad({"mount", ""}), "an argument of mount is empty");
    EXPECT_EQ(bad({"--volumes"}), "the option --volumes needs a value");
    EXPECT_EQ(bad({"--volumes="}), "the option --volumes needs a value");
    EXPECT_EQ(bad({"--headless=yes"}), "the option --headless takes no value");
    EXPECT_EQ(bad({"--simulate="}), "the option --simulate= needs a folder behind the equals sign");
    EXPECT_NE(bad({"--log-level", "loud"}).find("\"loud\""), std::string::npos);
    EXPECT_EQ(bad({"--first", "--second"}), "unknown option --first");
}

TEST(OptionsTest, ACommandIsTakenWithItsArguments) {
    EXPECT_TRUE(good({}).verb.empty());
    using Words = std::vector<std::string>;
    EXPECT_EQ(good({"list", "--json"}).verb, Words{"list"});
    EXPECT_TRUE(good({"--json", "list"}).json);
    EXPECT_EQ(good({"root", "Blue Phone", "Media"}).verb, (Words{"root", "Blue Phone", "Media"}));
    EXPECT_EQ(good({"mount", "--", "--odd name"}).verb, (Words{"mount", "--odd name"}));
    EXPECT_EQ(good({"mount", "--preferences", "/p", "Phone"}).verb, (Words{"mount", "Phone"}));
    EXPECT_TRUE(good({"--simulate", "list"}).simulate);
    EXPECT_EQ(good({"doctor", "--volumes", "/v"}).volumes, "/v");
}

TEST(OptionsTest, OptionsOfAStartAndOfACommandAreNotMixed) {
    EXPECT_EQ(bad({"--json"}), "the option --json needs a command, as in quillbox list --json");
    EXPECT_EQ(bad({"list", "--headless"}),
              "the option --headless is for starting Quillbox, not for list");
    EXPECT_EQ(bad({"mount", "x", "--volumes=/v"}),
              "the option --volumes is for starting Quillbox, not for mount");
    EXPECT_EQ(bad({"quit", "--log-level", "info"}),
              "the option --log-level is for starting Quillbox, not for quit");
    EXPECT_EQ(bad({"list", "--simulate=/m"}),
              "the option --simulate=FOLDER is for starting Quillbox, not for list");
}

TEST(OptionsTest, TheOptionsThatWereGivenAreKept) {
    EXPECT_TRUE(good({}).given.empty());
    EXPECT_EQ(
        good({"--headless", "--volumes", "/v", "--preferences", "/p", "--log-level=info"}).given,
        (std::vector<std::string>{"--headless", "--volumes", "/v", "--log-level=info"}));
}

TEST(OptionsTest, TheHelpNamesEveryOption) {
    for (const std::string each :
         {"--headless", "--simulate[=FOLDER]", "--volumes DIR", "--preferences FILE",
          "--log-level LEVEL", "--json", "--version", "--help", "list", "mount DEVICE",
          "unmount DEVICE", "root DEVICE [Root|Media|APPLICATION]", "info DEVICE", "reveal DEVICE",
          "quit", "doctor"}) {
        EXPECT_NE(usageText().find(each), std::string::npos) << each;
    }
    EXPECT_TRUE(usageText().starts_with("Usage: quillbox"));
}

}  // namespace

}  // namespace quillbox::app
