// SPDX-License-Identifier: GPL-3.0-or-later
#include "Arguments.h"
#include "Options.h"

#include <gtest/gtest.h>

namespace quillbox::simulator {
namespace {

using Words = std::vector<std::string>;

Arguments parse(const Words& words) {
    return {words, {"--value"}, {"--switch"}};
}

TEST(Arguments, WordsOptionsAndSwitchesAreToldApart) {
    const Arguments arguments = parse({"one", "--value", "v", "--switch", "two"});
    EXPECT_EQ(arguments.words(), (Words{"one", "two"}));
    EXPECT_EQ(arguments.value("--value"), "v");
    EXPECT_TRUE(arguments.has("--switch"));
    EXPECT_FALSE(arguments.value("--other"));
}

TEST(Arguments, AValueMayBeAttachedOrEmpty) {
    EXPECT_EQ(parse({"--value=a=b"}).value("--value"), "a=b");
    EXPECT_EQ(parse({"--value="}).value("--value"), "");
    EXPECT_EQ(parse({"--value", "--switch"}).value("--value"), "--switch");
}

TEST(Arguments, AfterTwoHyphensEverythingIsAWord) {
    EXPECT_EQ(parse({"--", "--switch", "-x"}).words(), (Words{"--switch", "-x"}));
}

TEST(Arguments, WrongUsageIsTold) {
    EXPECT_THROW(parse({"--value"}), UsageError);
    EXPECT_THROW(parse({"--unknown"}), UsageError);
    EXPECT_THROW(parse({"--switch=1"}), UsageError);
    EXPECT_THROW(parse({"--switch", "--switch"}), UsageError);
}

TEST(Arguments, NumbersAreWhole) {
    EXPECT_EQ(parseNumber("42", "x"), 42U);
    EXPECT_EQ(parseNumber("18446744073709551615", "x"), ~std::uint64_t{0});
    for (const char* text : {"", "-1", "1.5", "4x", " 4", "18446744073709551616"}) {
        EXPECT_THROW((void)parseNumber(text, "x"), UsageError) << text;
    }
    EXPECT_THROW((void)parseNumber("11", "x", 10), UsageError);
    EXPECT_DOUBLE_EQ(parseFraction("0.25", "x"), 0.25);
    for (const char* text : {"", "-1", "nan", "inf", "1e300", "1,5"}) {
        EXPECT_THROW((void)parseFraction(text, "x"), UsageError) << text;
    }
}

TEST(Options, SocketAndStateAreNeeded) {
    EXPECT_FALSE(parseOptions({"--socket", "s"}).error.empty());
    EXPECT_FALSE(parseOptions({"--state", "s"}).error.empty());
    EXPECT_FALSE(parseOptions({"--socket", "s", "--state", "t", "word"}).error.empty());
    EXPECT_FALSE(parseOptions({"--socket", "s", "--state", "t", "--devices", "x"}).error.empty());
    const ParsedOptions good = parseOptions({"--socket", "s", "--state", "t", "--devices=3"});
    EXPECT_EQ(good.error, "");
    EXPECT_EQ(good.options.control, "s.control");
    EXPECT_EQ(good.options.devices, 3U);
    EXPECT_TRUE(good.options.device.description.tls);
}

TEST(Options, HelpWins) {
    EXPECT_TRUE(parseOptions({"--nonsense", "--help"}).help);
    EXPECT_NE(optionsHelp().find("--socket"), std::string::npos);
}

}  // namespace
}  // namespace quillbox::simulator
