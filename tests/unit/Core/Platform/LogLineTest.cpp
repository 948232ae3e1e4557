// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/LogLine.h"

#include "Fakes/FakeHost.h"

#include <gtest/gtest.h>

namespace quillbox::fakes {
namespace {

TEST(LogLineTest, PiecesAreJoinedAsTheyAreShown) {
    FakeLog log;
    const PropertyDictionary dictionary{{"mode", 2}};
    logLine(log, LogLevel::Info, "a ", std::string("b"), std::string_view(" c "), -5,
            std::optional<std::string>(), " ", std::optional<std::string>("x"), dictionary,
            std::make_shared<PropertyDictionary>(), std::shared_ptr<PropertyDictionary>(),
            std::vector<std::string>{"n", "two words"});
    EXPECT_EQ(log.take(), (std::vector<std::string>{
                              "a b c -5(null) x{ mode = 2; }{ }(null)( n, \"two words\" )"}));
}

TEST(LogLineTest, ALevelThatIsNotWrittenIsNotWritten) {
    FakeLog log;
    log.setLevel(LogLevel::Warning);
    logLine(log, LogLevel::Info, "no");
    logLine(log, LogLevel::Warning, "yes");
    EXPECT_EQ(log.levels(), (std::vector<LogLevel>{LogLevel::Warning}));
    EXPECT_EQ(log.take(), (std::vector<std::string>{"yes"}));
}

}  // namespace
}  // namespace quillbox::fakes
