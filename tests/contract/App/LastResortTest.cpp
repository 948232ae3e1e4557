// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/LastResort.h"
#include "Linux/Host/Signals.h"
#include "Linux/Host/SystemLog.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

namespace quillbox::app {

namespace {

using namespace std::chrono_literals;

constexpr int kEndedByItself = 42;

/// Runs something in a process of its own and answers its exit status, -1 for a death by signal.
int statusOf(const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        std::_Exit(kEndedByItself);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> noVolumes() {
    return {};
}

TEST(LastResortTest, AStuckMainThreadIsEndedSomeTimeAfterTheSignal) {
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(statusOf([] {
                  const host::Signals signals;
                  host::SystemLog log(LogLevel::Error, 2, false);
                  const LastResort resort(log, 200ms, noVolumes);
                  ::raise(SIGTERM);
                  std::this_thread::sleep_for(60s);
              }),
              0);
    const auto took = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(took, 200ms);
    EXPECT_LT(took, 30s);
}

TEST(LastResortTest, AnEndInTimeCallsItOff) {
    EXPECT_EQ(statusOf([] {
                  const host::Signals signals;
                  host::SystemLog log(LogLevel::Error, 2, false);
                  {
                      LastResort resort(log, 200ms, noVolumes);
                      resort.arm();
                  }
                  std::this_thread::sleep_for(400ms);
              }),
              kEndedByItself);
}

TEST(LastResortTest, WithoutARequestItWaitsForEver) {
    EXPECT_EQ(statusOf([] {
                  const host::Signals signals;
                  host::SystemLog log(LogLevel::Error, 2, false);
                  const LastResort resort(log, 1ms, noVolumes);
                  std::this_thread::sleep_for(200ms);
              }),
              kEndedByItself);
}

TEST(LastResortTest, AVolumeThatCannotBeUnmountedShowsInTheExitStatus) {
    EXPECT_EQ(statusOf([] {
                  const host::Signals signals;
                  host::SystemLog log(LogLevel::Error, 2, false);
                  LastResort resort(
                      log, 1ms, [] { return std::vector<std::string>{"/nowhere/to/be/found"}; });
                  resort.arm();
                  std::this_thread::sleep_for(60s);
              }),
              1);
}

}  // namespace

}  // namespace quillbox::app
