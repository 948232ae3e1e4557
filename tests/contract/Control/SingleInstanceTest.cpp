// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/SingleInstance.h"
#include "ControlTesting.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

namespace quillbox::control {

namespace {

using Result = SingleInstance::Result;

TEST(SingleInstanceTest, OneForEachSocketAndPreferenceFile) {
    const TestFolder folder;
    std::string message;
    SingleInstance first;
    ASSERT_EQ(first.take(folder.path(), {"/run/mux", "/home/p"}, false, &message), Result::Taken);
    SingleInstance second;
    EXPECT_EQ(second.take(folder.path(), {"/run/mux", "/home/./p"}, false, &message),
              Result::Running);
    EXPECT_EQ(message, std::to_string(::getpid()));
    EXPECT_EQ(second.take(folder.path(), {"/run/other", "/home/p"}, false, &message),
              Result::Taken);
    SingleInstance third;
    EXPECT_EQ(third.take(folder.path(), {"/run/mux", "/home/q"}, false, &message), Result::Taken);
    SingleInstance fourth;
    EXPECT_EQ(fourth.take(folder / "nowhere", {"/run/mux", "/home/p"}, false, &message),
              Result::Failed);
    EXPECT_FALSE(message.empty());
}

TEST(SingleInstanceTest, TheLockIsFreeAgainAfterItsHolder) {
    const TestFolder folder;
    std::string message;
    {
        SingleInstance first;
        ASSERT_EQ(first.take(folder.path(), {"a", "b"}, false, &message), Result::Taken);
        EXPECT_EQ(runningInstances(folder.path()).size(), 1U);
    }
    EXPECT_TRUE(runningInstances(folder.path()).empty());
    SingleInstance second;
    EXPECT_EQ(second.take(folder.path(), {"a", "b"}, false, &message), Result::Taken);
}

TEST(SingleInstanceTest, WhoRunsIsFoundWithoutDisturbingThem) {
    const TestFolder folder;
    std::string message;
    SingleInstance real;
    SingleInstance simulated;
    ASSERT_EQ(real.take(folder.path(), {"/run/mux", "/home/p"}, false, &message), Result::Taken);
    ASSERT_EQ(simulated.take(folder.path(), {"/tmp/sim", "/home/p"}, true, &message),
              Result::Taken);
    std::ofstream(folder / "quillbox-0123.lock") << "left over";
    std::ofstream(folder / "another.lock") << "of others";

    const auto running = runningInstances(folder.path());
    ASSERT_EQ(running.size(), 2U);
    const auto& found = running[running[0].isSimulated ? 0 : 1];
    EXPECT_TRUE(found.isSimulated);
    EXPECT_EQ(found.key.multiplexer, "/tmp/sim");
    EXPECT_EQ(found.key.preferences, "/home/p");
    EXPECT_EQ(found.process, ::getpid());
    EXPECT_EQ(found.socketPath, simulated.socketPath());
    EXPECT_NE(real.socketPath(), simulated.socketPath());
    EXPECT_TRUE(isRunning(found));
}

TEST(SingleInstanceTest, AStrangeRecordIsNobody) {
    const TestFolder folder;
    std::string message;
    SingleInstance instance;
    ASSERT_EQ(instance.take(folder.path(), {"a", "b"}, false, &message), Result::Taken);
    const auto running = runningInstances(folder.path());
    ASSERT_EQ(running.size(), 1U);
    std::ofstream(running[0].lockPath, std::ios::trunc) << "no record";
    EXPECT_TRUE(runningInstances(folder.path()).empty());
    EXPECT_TRUE(isRunning(running[0]));
}

Instance instance(const std::string& multiplexer, const std::string& preferences,
                  bool isSimulated = false) {
    return {{multiplexer, preferences}, 1, isSimulated, {}, multiplexer + preferences};
}

TEST(ChooseTest, TheUsualOneGoesFirstAndAnyOtherWillDo) {
    const auto usual = instance("/m", "/p");
    const auto other = instance("/n", "/q");
    const InstanceWish wish{false, false, false, {"/m", "/p"}};
    const auto both = choose({other, usual}, wish);
    ASSERT_EQ(both.size(), 1U);
    EXPECT_EQ(both[0].lockPath, usual.lockPath);
    const auto one = choose({other}, wish);
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one[0].lockPath, other.lockPath);
    EXPECT_EQ(choose({other, instance("/o", "/p")}, wish).size(), 2U);
    EXPECT_TRUE(choose({}, wish).empty());
}

TEST(ChooseTest, WhatIsNamedMustFit) {
    const auto simulated = instance("/n", "/p", true);
    EXPECT_TRUE(choose({simulated}, {true, false, false, {"/m", "/p"}}).empty());
    EXPECT_EQ(choose({simulated}, {true, false, false, {"/n", "/x"}}).size(), 1U);
    EXPECT_TRUE(choose({simulated}, {false, true, false, {"/n", "/x"}}).empty());
    EXPECT_EQ(choose({simulated, instance("/m", "/p")}, {false, false, true, {"/m", "/p"}}).size(),
              1U);
    EXPECT_TRUE(choose({instance("/m", "/p")}, {false, false, true, {"/m", "/p"}}).empty());
}

}  // namespace

}  // namespace quillbox::control
