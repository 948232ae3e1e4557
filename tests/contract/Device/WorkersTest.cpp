// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/Workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <future>
#include <latch>
#include <thread>

namespace quillbox::device {

namespace {

using namespace std::chrono_literals;

constexpr auto kLong = 60s;  // only an error takes as long
constexpr int kStatus = 3;

TEST(WorkersTest, AJobNeverWaitsBehindAnother) {
    Workers workers;
    constexpr int kJobs = 8;
    std::latch all{kJobs + 1};
    for (int i = 0; i < kJobs; ++i) {
        workers.post([&] { all.arrive_and_wait(); });
    }
    all.arrive_and_wait();
    EXPECT_TRUE(workers.stop(kLong));
}

TEST(WorkersTest, AJobRunsAfterItsPause) {
    Workers workers;
    std::promise<std::chrono::steady_clock::time_point> ran;
    const auto begun = std::chrono::steady_clock::now();
    workers.postAfter(30ms, [&] { ran.set_value(std::chrono::steady_clock::now()); });
    EXPECT_GE(ran.get_future().get() - begun, 30ms);
}

TEST(WorkersTest, NoJobBeginsAfterTheStop) {
    std::atomic<int> begun{0};
    Workers workers;
    workers.postAfter(kLong, [&] { ++begun; });
    EXPECT_TRUE(workers.stop(kLong));
    workers.post([&] { ++begun; });
    workers.postAfter(0ms, [&] { ++begun; });
    EXPECT_TRUE(workers.stop(kLong));
    EXPECT_EQ(begun, 0);
}

/// What a library does at the end of its process.
void cleanUp() {
    std::abort();
}

void endWith(bool isStuck) {
    std::atexit(cleanUp);
    Workers workers;
    std::promise<void> running;
    workers.post([&] {
        running.set_value();
        while (isStuck) {
            std::this_thread::sleep_for(kLong);
        }
    });
    running.get_future().wait();
    const bool ended = workers.stop(isStuck ? 0ms : std::chrono::milliseconds{kLong});
    std::exit(ended == isStuck ? kStatus + 1 : kStatus);
}

TEST(WorkersDeathTest, LibrariesAreNotCleanedUpAroundAThreadThatIsLeftBehind) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(endWith(true), ::testing::ExitedWithCode(kStatus), "");
    EXPECT_EXIT(endWith(false), ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace

}  // namespace quillbox::device
