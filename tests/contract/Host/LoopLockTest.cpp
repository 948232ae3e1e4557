// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/LoopLock.h"
#include "HostTesting.h"
#include "Linux/Host/MainLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace quillbox::host {

namespace {

using namespace std::chrono_literals;

class LoopLockTest : public testing::Test {
protected:
    RememberingLog log_;
    MainLoop loop_;
    LoopLocks locks_{loop_, log_};
    int device_ = 0;
};

TEST_F(LoopLockTest, AFreeLockIsTakenAtOnceAndFreedAgain) {
    const auto lock = locks_.makeLock(&device_);
    EXPECT_TRUE(lock->lock());
    lock->unlock();
    EXPECT_TRUE(lock->lock());
    lock->unlock();
    EXPECT_TRUE(log_.entries().empty());
}

TEST_F(LoopLockTest, TheMainThreadWaitsThroughTheLoop) {
    const auto lock = locks_.makeLock(&device_);
    ASSERT_TRUE(lock->lock());
    bool served = false;
    loop_.addTimer(5ms, [&] { served = true; });
    std::thread other([&] {
        std::this_thread::sleep_for(30ms);
        lock->unlock();
    });
    EXPECT_TRUE(lock->lock());
    EXPECT_TRUE(served);
    other.join();
}

TEST_F(LoopLockTest, AWaitThatIsEndedHoldsNothingAndFreesNothing) {
    const auto lock = locks_.makeLock(&device_);
    ASSERT_TRUE(lock->lock());
    loop_.addTimer(5ms, [&] { loop_.endWaits(&device_); });
    EXPECT_FALSE(lock->lock());
    loop_.addTimer(5ms, [&] { loop_.endWaits(&device_); });
    EXPECT_FALSE(lock->lock());
    lock->unlock();
    EXPECT_TRUE(lock->lock());
}

TEST_F(LoopLockTest, AnUnlockOfAFreeLockIsLoggedAndHarmless) {
    const auto lock = locks_.makeLock(nullptr);
    lock->unlock();
    EXPECT_EQ(log_.count(LogLevel::Warning), 1U);
    EXPECT_TRUE(lock->lock());
    loop_.addTimer(5ms, [&] { loop_.endWaits(nullptr); });
    EXPECT_FALSE(lock->lock());
}

TEST_F(LoopLockTest, OneThreadAtATimeHoldsIt) {
    const auto lock = locks_.makeLock(&device_);
    std::atomic<int> inside = 0;
    std::atomic<bool> broken = false;
    int sum = 0;
    const auto work = [&] {
        for (int i = 0; i < 500; ++i) {
            if (!lock->lock()) {
                broken = true;
                return;
            }
            broken = broken || inside.fetch_add(1) != 0;
            ++sum;
            inside.fetch_sub(1);
            lock->unlock();
        }
    };
    std::thread a(work);
    std::thread b(work);
    work();
    a.join();
    b.join();
    EXPECT_FALSE(broken);
    EXPECT_EQ(sum, 1500);
}

}  // namespace

}  // namespace quillbox::host
