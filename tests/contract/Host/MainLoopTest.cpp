// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/MainLoop.h"
#include "HostTesting.h"
#include "Linux/Host/ChildProcess.h"
#include "Linux/Host/Signals.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <string>
#include <thread>

namespace quillbox::host {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class MainLoopTest : public testing::Test {
protected:
    Signals signals_;
    MainLoop loop_;
    int device_ = 0;
};

TEST_F(MainLoopTest, PostedTasksRunOnTheMainThreadInOrder) {
    std::vector<int> order;
    std::vector<bool> onMain;
    std::thread other([&] {
        EXPECT_FALSE(loop_.isMainThread());
        for (int i = 0; i < 100; ++i) {
            loop_.post([&, i] {
                order.push_back(i);
                onMain.push_back(loop_.isMainThread());
            });
        }
        loop_.post([&] { loop_.quit(); });
    });
    EXPECT_EQ(loop_.run(), 0);
    other.join();
    ASSERT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(std::count(onMain.begin(), onMain.end(), true), 100);
}

TEST_F(MainLoopTest, AnEndingSignalEndsTheLoopAndIsAnswered) {
    for (const int number : {SIGINT, SIGTERM}) {
        MainLoop own;
        own.post([number] { ::raise(number); });
        EXPECT_EQ(own.run(), number);
    }
}

TEST_F(MainLoopTest, TheDesktopIsServedWhileIdleWithinWaitsAndBetweenTasks) {
    std::vector<bool> turns;
    loop_.setSleeper([&](const std::vector<int>& descriptors, Clock::time_point deadline) {
        EXPECT_EQ(descriptors.size(), 2U);
        EXPECT_EQ(deadline <= Clock::now(), !loop_.isWaiting());
        turns.push_back(loop_.isWaiting());
    });
    auto completion = std::make_shared<Completion>();
    for (int i = 0; i < 3; ++i) {
        loop_.post([] {});
    }
    loop_.post([&] {
        loop_.setSleeper([&](const std::vector<int>&, Clock::time_point) {
            turns.push_back(loop_.isWaiting());
            loop_.finish(completion);
        });
        EXPECT_TRUE(loop_.wait(completion, nullptr, "a device"));
        EXPECT_FALSE(loop_.isWaiting());
        loop_.quit();
    });
    EXPECT_EQ(loop_.run(), 0);
    EXPECT_EQ(turns, (std::vector{false, false, false, true, false}));
}

TEST_F(MainLoopTest, TimersRunInTheOrderOfTheirTimeAndCancelledOnesNever) {
    std::string order;
    loop_.addTimer(20ms, [&] { order += "b"; });
    loop_.addTimer(1ms, [&] { order += "a"; });
    const auto cancelled = loop_.addTimer(10ms, [&] { order += "x"; });
    loop_.addTimer(30ms, [&] { loop_.quit(); });
    loop_.cancelTimer(cancelled);
    loop_.run();
    EXPECT_EQ(order, "ab");
}

TEST_F(MainLoopTest, AWaitEndsWhenItsCompletionIsFinishedByAnotherThread) {
    auto completion = std::make_shared<Completion>();
    std::thread other([&] {
        std::this_thread::sleep_for(10ms);
        loop_.finish(completion);
    });
    EXPECT_TRUE(loop_.wait(completion, &device_, "a test"));
    other.join();
    EXPECT_TRUE(loop_.wait(completion, &device_, "what is finished already"));
}

TEST_F(MainLoopTest, AWaitServesTimersAndNoPostedTask) {
    bool taskRan = false;
    int timers = 0;
    auto completion = std::make_shared<Completion>();
    loop_.post([&] { taskRan = true; });
    loop_.addTimer(5ms, [&] { ++timers; });
    loop_.addTimer(10ms, [&] {
        ++timers;
        loop_.finish(completion);
    });
    EXPECT_TRUE(loop_.wait(completion, &device_, "a test"));
    EXPECT_EQ(timers, 2);
    EXPECT_FALSE(taskRan);
    loop_.post([&] { loop_.quit(); });
    loop_.run();
    EXPECT_TRUE(taskRan);
}

TEST_F(MainLoopTest, AWaitServesLooksAtOnceAndElseTheyHaveTheirTurn) {
    std::string order;
    auto completion = std::make_shared<Completion>();
    loop_.post([&] { order += 'a'; });
    std::thread other([&] {
        std::this_thread::sleep_for(10ms);
        loop_.postLook([&] {
            EXPECT_TRUE(loop_.isMainThread());
            order += 'b';
            loop_.finish(completion);
        });
    });
    EXPECT_TRUE(loop_.wait(completion, &device_, "a test"));
    other.join();
    EXPECT_EQ(order, "b");
    loop_.postLook([&] { order += 'c'; });
    loop_.post([&] { loop_.quit(); });
    loop_.run();
    EXPECT_EQ(order, "bac");
}

TEST_F(MainLoopTest, TheEndOfASubjectEndsItsWaitsAndNoOther) {
    int another = 0;
    std::thread other([&] {
        std::this_thread::sleep_for(20ms);
        loop_.endWaits(&another);
        std::this_thread::sleep_for(20ms);
        loop_.endWaits(&device_);
    });
    const auto begun = Clock::now();
    EXPECT_FALSE(loop_.wait(std::make_shared<Completion>(), &device_, "a test"));
    EXPECT_GE(Clock::now() - begun, 35ms);
    other.join();
}

TEST_F(MainLoopTest, NestedWaitsEndEachForItself) {
    auto outer = std::make_shared<Completion>();
    auto inner = std::make_shared<Completion>();
    std::string order;
    loop_.addTimer(1ms, [&] {
        loop_.addTimer(5ms, [&] { loop_.finish(outer); });
        loop_.addTimer(20ms, [&] { loop_.finish(inner); });
        order += loop_.wait(inner, nullptr, "the inner one") ? "inner " : "broken ";
    });
    EXPECT_TRUE(loop_.wait(outer, &device_, "the outer one"));
    order += "outer";
    EXPECT_EQ(order, "inner outer");
}

TEST_F(MainLoopTest, QuittingEndsPresentWaitsAndFailsLaterOnes) {
    std::thread other([&] {
        std::this_thread::sleep_for(10ms);
        loop_.quit();
    });
    EXPECT_FALSE(loop_.wait(std::make_shared<Completion>(), &device_, "a test"));
    other.join();
    const auto begun = Clock::now();
    EXPECT_FALSE(loop_.wait(std::make_shared<Completion>(), &device_, "a test"));
    EXPECT_LT(Clock::now() - begun, 5s);
}

TEST_F(MainLoopTest, ASignalEndsAWait) {
    std::thread other([] {
        std::this_thread::sleep_for(10ms);
        ::kill(::getpid(), SIGTERM);
    });
    EXPECT_FALSE(loop_.wait(std::make_shared<Completion>(), &device_, "a test"));
    other.join();
    EXPECT_TRUE(loop_.isQuitting());
    EXPECT_EQ(loop_.run(), SIGTERM);
}

TEST_F(MainLoopTest, AfterTheEndWaitsLastNoLongerThanAllowed) {
    loop_.quit();
    loop_.run();
    loop_.allowWaits(100ms);
    auto completion = std::make_shared<Completion>();
    loop_.addTimer(5ms, [&] { loop_.finish(completion); });
    EXPECT_TRUE(loop_.wait(completion, &device_, "the last word"));
    const auto begun = Clock::now();
    EXPECT_FALSE(loop_.wait(std::make_shared<Completion>(), &device_, "for ever"));
    EXPECT_LT(Clock::now() - begun, 10s);
    EXPECT_FALSE(loop_.wait(std::make_shared<Completion>(), &device_, "again"));
}

TEST_F(MainLoopTest, ALongWaitIsToldAndAShortOneNot) {
    std::vector<std::string> told;
    loop_.setWaitObserver([&](const std::string& what, bool waiting) {
        told.push_back((waiting ? "+" : "-") + what);
    });
    auto soon = std::make_shared<Completion>();
    loop_.addTimer(20ms, [&] { loop_.finish(soon); });
    loop_.wait(soon, nullptr, "short");
    EXPECT_TRUE(told.empty());
    auto later = std::make_shared<Completion>();
    loop_.addTimer(400ms, [&] { loop_.finish(later); });
    loop_.wait(later, nullptr, "opening Blue Phone");
    EXPECT_EQ(told, (std::vector<std::string>{"+opening Blue Phone", "-opening Blue Phone"}));
}

TEST_F(MainLoopTest, ABrokenPipeIsAnErrorHereAndDeadlyInAChild) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    ::close(ends[0]);
    EXPECT_EQ(::write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    ::close(ends[1]);

    std::string error;
    // Bit 12 of the masks is SIGPIPE: neither ignored nor caught is the default.
    const auto child = ChildProcess::start(
        "/bin/sh",
        {"-c",
         "test $(( 0x$(sed -n 's/SigIgn:.//p' /proc/self/status) & 0x1000 )) = 0 && echo default"},
        &error);
    ASSERT_TRUE(child) << error;
    EXPECT_TRUE(child->waitForLine("default", 10s));
}

}  // namespace

}  // namespace quillbox::host
