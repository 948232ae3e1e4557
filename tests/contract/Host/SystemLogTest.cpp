// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/SystemLog.h"
#include "HostTesting.h"
#include "Linux/Host/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

namespace quillbox::host {

namespace {

TEST(EscapedForLogTest, PlainTextInAnyScriptStays) {
    const std::string text = "Gerät \"日本\" \\ 🦊 עברית";
    EXPECT_EQ(escapedForLog(text), text);
}

TEST(EscapedForLogTest, NothingCanBreakTheLine) {
    EXPECT_EQ(escapedForLog("a\nb\r\tc"), "a\\nb\\r\\tc");
    EXPECT_EQ(escapedForLog(std::string_view("\0\x1b[31m\x7f", 7)), "\\x00\\x1b[31m\\x7f");
    EXPECT_EQ(escapedForLog("\xc2\x85"), "\\xc2\\x85");
    EXPECT_EQ(escapedForLog("\xe2\x80\xa8"), "\\xe2\\x80\\xa8");
}

TEST(EscapedForLogTest, BytesThatAreNoTextAreEscaped) {
    EXPECT_EQ(escapedForLog("\xff"
                            "a"),
              "\\xffa");
    EXPECT_EQ(escapedForLog("\xc3"), "\\xc3");
    EXPECT_EQ(escapedForLog("\xc0\x8a"), "\\xc0\\x8a");
    EXPECT_EQ(escapedForLog("\xed\xa0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(escapedForLog("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
}

TEST(EscapedForLogTest, LineFeedsAtTheEndAreDropped) {
    EXPECT_EQ(escapedForLog("text\n\n"), "text");
    EXPECT_EQ(escapedForLog("\n"), "");
    EXPECT_EQ(escapedForLog(""), "");
}

TEST(LogLevelNamedTest, KnowsItsFourWords) {
    EXPECT_EQ(logLevelNamed("error"), LogLevel::Error);
    EXPECT_EQ(logLevelNamed("warning"), LogLevel::Warning);
    EXPECT_EQ(logLevelNamed("info"), LogLevel::Info);
    EXPECT_EQ(logLevelNamed("debug"), LogLevel::Debug);
    EXPECT_FALSE(logLevelNamed("loud"));
    EXPECT_FALSE(logLevelNamed(""));
}

class SystemLogTest : public testing::Test {
protected:
    TestFolder folder_;
    const FileDescriptor file_{
        ::open((folder_ / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)};

    std::string text() const { return readText(folder_ / "log"); }
};

TEST_F(SystemLogTest, OneLineAnEntryWithTheLevelWhereItMatters) {
    SystemLog log(LogLevel::Debug, file_.get(), false);
    log.write(LogLevel::Info, "first\n");
    log.write(LogLevel::Warning, "a\nb");
    log.write(LogLevel::Error, "");
    log.write(LogLevel::Debug, "d");
    EXPECT_EQ(text(), "quillbox: first\nquillbox: warning: a\\nb\nquillbox: error: \n"
                      "quillbox: debug: d\n");
}

TEST_F(SystemLogTest, EntriesAboveTheThresholdAreLeftOut) {
    SystemLog log(LogLevel::Warning, file_.get(), false);
    EXPECT_TRUE(log.isEnabled(LogLevel::Error));
    EXPECT_TRUE(log.isEnabled(LogLevel::Warning));
    EXPECT_FALSE(log.isEnabled(LogLevel::Info));
    log.write(LogLevel::Info, "left out");
    log.write(LogLevel::Error, "kept");
    EXPECT_EQ(text(), "quillbox: error: kept\n");
}

TEST_F(SystemLogTest, LinesOfManyThreadsDoNotMix) {
    {
        SystemLog log(LogLevel::Info, file_.get(), false);
        std::vector<std::thread> threads;
        for (char letter = 'a'; letter < 'e'; ++letter) {
            threads.emplace_back([&log, letter] {
                for (int i = 0; i < 200; ++i) {
                    log.write(LogLevel::Info, std::string(100, letter));
                }
            });
        }
        for (auto& each : threads) {
            each.join();
        }
    }
    std::istringstream lines(text());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_EQ(line.size(), 110U);
        EXPECT_EQ(line.substr(10), std::string(100, line[10]));
    }
    EXPECT_EQ(count, 800);
}

}  // namespace

}  // namespace quillbox::host
