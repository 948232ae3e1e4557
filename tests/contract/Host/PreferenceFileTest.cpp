// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/PreferenceFile.h"
#include "HostTesting.h"
#include "Linux/Host/PlistConversion.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <limits>
#include <thread>

namespace quillbox::host {

namespace {

class PreferenceFileTest : public testing::Test {
protected:
    std::vector<std::string> namesBeside() const {
        std::vector<std::string> names;
        for (const auto& each : std::filesystem::directory_iterator(folder_ / "config")) {
            names.push_back(each.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    TestFolder folder_;
    RememberingLog log_;
    const std::string file_ = folder_ / "config/preferences.plist";
};

TEST_F(PreferenceFileTest, WhatIsMissingReadsAsNothing) {
    const PreferenceFile store(file_, log_);
    EXPECT_FALSE(store.objectForKey("key"));
    EXPECT_FALSE(store.boolForKey("key"));
    EXPECT_EQ(store.integerForKey("key"), 0);
    EXPECT_FALSE(store.stringForKey("key"));
    EXPECT_TRUE(log_.entries().empty());
}

TEST_F(PreferenceFileTest, EveryTypeOfValueComesBackFromTheDisk) {
    const PropertyDictionary values{
        {"yes", true},
        {"no", false},
        {"zero", 0},
        {"negative", -42},
        {"most", std::numeric_limits<std::int64_t>::max()},
        {"least", std::numeric_limits<std::int64_t>::min()},
        {"real", 0.5},
        {"text", "Blaues Telefon & <Söhne> \"日本\""},
        {"empty", ""},
        {"lines", " a\n\tb "},
        {"data", PropertyData{0, 1, 255}},
        {"date", PropertyDate(std::chrono::seconds(1'700'000'000))},
        {"array", PropertyArray{1, "two", PropertyArray{}}},
        {"dictionary", PropertyDictionary{{"inner", PropertyDictionary{{"deep", 1}}}}}};
    {
        PreferenceFile store(file_, log_);
        for (const auto& [key, value] : values) {
            store.setObject(key, value);
        }
        EXPECT_TRUE(store.synchronize());
    }
    const PreferenceFile again(file_, log_);
    for (const auto& [key, value] : values) {
        EXPECT_EQ(again.objectForKey(key), value) << key;
    }
    EXPECT_TRUE(log_.entries().empty());
}

TEST_F(PreferenceFileTest, RemovedKeysAreGoneFromTheDiskToo) {
    {
        PreferenceFile store(file_, log_);
        store.setObject("a", 1);
        store.setObject("b", 2);
        store.synchronize();
        store.removeObject("a");
        store.removeObject("a");
        store.synchronize();
    }
    {
        PreferenceFile store(file_, log_);
        EXPECT_FALSE(store.objectForKey("a"));
        EXPECT_EQ(store.integerForKey("b"), 2);
        store.removeAllObjects();
        EXPECT_FALSE(store.objectForKey("b"));
        store.synchronize();
    }
    EXPECT_FALSE(PreferenceFile(file_, log_).objectForKey("b"));
}

TEST_F(PreferenceFileTest, TheFileIsPrivateAndNothingElseIsLeftBesideIt) {
    PreferenceFile store(file_, log_);
    store.setObject("a", 1);
    ASSERT_TRUE(store.synchronize());
    struct stat status = {};
    ASSERT_EQ(::stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(namesBeside(), std::vector<std::string>{"preferences.plist"});
}

TEST_F(PreferenceFileTest, TheEndOfTheStoreWritesWhatWasNotWritten) {
    { PreferenceFile(file_, log_).setObject("a", 1); }
    EXPECT_EQ(PreferenceFile(file_, log_).integerForKey("a"), 1);
}

TEST_F(PreferenceFileTest, AnUnchangedStoreIsNotWrittenAnew) {
    writeText(file_, plistText({{"a", 1}}));
    struct stat before = {};
    ::stat(file_.c_str(), &before);
    PreferenceFile store(file_, log_);
    store.setObject("a", 1);
    EXPECT_TRUE(store.synchronize());
    struct stat after = {};
    ::stat(file_.c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(PreferenceFileTest, ADamagedFileIsKeptAsideAndSaidSoOnce) {
    const std::string whole = plistText({{"a", 1}, {"b", "text"}});
    for (const std::string& damaged :
         {std::string("not a property list"), std::string(), whole.substr(0, whole.size() / 2),
          std::string("<plist><array/></plist>"), std::string("\0\1\2", 3)}) {
        std::filesystem::remove_all(folder_ / "config");
        writeText(file_, damaged);
        RememberingLog log;
        {
            PreferenceFile store(file_, log);
            EXPECT_FALSE(store.objectForKey("a"));
            store.setObject("new", 1);
            EXPECT_TRUE(store.synchronize());
        }
        EXPECT_EQ(log.count(LogLevel::Error), 1U);
        const auto names = namesBeside();
        ASSERT_EQ(names.size(), 2U);
        EXPECT_EQ(readText(folder_ / ("config/" + names[1])), damaged);
        EXPECT_EQ(PreferenceFile(file_, log).integerForKey("new"), 1);
        EXPECT_EQ(log.count(LogLevel::Error), 1U);
    }
}

TEST_F(PreferenceFileTest, AFolderThatCannotBeWrittenIsAFailureThatIsSaid) {
    writeText(folder_ / "file", "");
    PreferenceFile store(folder_ / "file/preferences.plist", log_);
    store.setObject("a", 1);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(log_.count(LogLevel::Error), 1U);
    EXPECT_EQ(store.integerForKey("a"), 1);
}

TEST_F(PreferenceFileTest, AFileThatCannotBeReadIsLeftAlone) {
    std::filesystem::create_directories(file_ + "/folder in its place");
    {
        PreferenceFile store(file_, log_);
        EXPECT_EQ(log_.count(LogLevel::Error), 1U);
        store.setObject("a", 1);
        EXPECT_FALSE(store.synchronize());
    }
    EXPECT_TRUE(std::filesystem::exists(file_ + "/folder in its place"));
}

TEST_F(PreferenceFileTest, ALinkStaysALink) {
    writeText(folder_ / "elsewhere/real.plist", plistText({{"a", 1}}));
    std::filesystem::create_directories(folder_ / "config");
    std::filesystem::create_symlink(folder_ / "elsewhere/real.plist", file_);
    PreferenceFile store(file_, log_);
    store.setObject("a", 2);
    ASSERT_TRUE(store.synchronize());
    EXPECT_TRUE(std::filesystem::is_symlink(file_));
    EXPECT_EQ(PreferenceFile(folder_ / "elsewhere/real.plist", log_).integerForKey("a"), 2);
}

TEST_F(PreferenceFileTest, OtherThreadsReadWhileTheMainThreadWrites) {
    PreferenceFile store(file_, log_);
    std::thread reader([&] {
        for (int i = 0; i < 2000; ++i) {
            const auto value = store.integerForKey("counter");
            EXPECT_GE(value, 0);
        }
    });
    for (int i = 0; i < 2000; ++i) {
        store.setObject("counter", i);
    }
    EXPECT_TRUE(store.synchronize());
    reader.join();
}

TEST_F(PreferenceFileTest, TheUsualPlaceFollowsTheEnvironment) {
    const TestVariable set("XDG_CONFIG_HOME", folder_ / "config");
    EXPECT_EQ(defaultPreferencePath(), folder_ / "config/quillbox/preferences.plist");
    const TestVariable relative("XDG_CONFIG_HOME", "relative");
    const TestVariable home("HOME", folder_.path());
    EXPECT_EQ(defaultPreferencePath(), folder_ / ".config/quillbox/preferences.plist");
}

}  // namespace

}  // namespace quillbox::host
