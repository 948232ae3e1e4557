// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/ChildProcess.h"
#include "HostTesting.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace quillbox::host {

namespace {

using namespace std::chrono_literals;

TEST(ChildProcessTest, TheAwaitedLineIsFoundAmongOthers) {
    std::string error;
    const auto child =
        ChildProcess::start("/bin/sh", {"-c", "echo not yet; echo ready; exec sleep 100"}, &error);
    ASSERT_TRUE(child) << error;
    EXPECT_TRUE(child->waitForLine("ready", 10s));
    EXPECT_FALSE(child->waitForLine("never", 50ms));
}

TEST(ChildProcessTest, AProgramThatEndsEndsTheWait) {
    std::string error;
    const auto child = ChildProcess::start("/bin/sh", {"-c", "exit 3"}, &error);
    ASSERT_TRUE(child) << error;
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_FALSE(child->waitForLine("ready", 10s));
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 30s);
}

TEST(ChildProcessTest, AProgramThatIsNotThereIsAnError) {
    std::string error;
    EXPECT_FALSE(ChildProcess::start("/nowhere/to/be/found", {}, &error));
    EXPECT_FALSE(error.empty());
}

TEST(ChildProcessTest, TheProgramEndsWithItsOwnerEvenWhenItIsDeafToTheRequest) {
    const TestFolder folder;
    const std::string file = folder / "pid";
    std::string error;
    auto child = ChildProcess::start(
        "/bin/sh",
        {"-c", "trap '' TERM; echo $$ > " + file + "; echo ready; while :; do sleep 1; done"},
        &error);
    ASSERT_TRUE(child) << error;
    ASSERT_TRUE(child->waitForLine("ready", 10s));
    const auto process = static_cast<pid_t>(std::stol(readText(file)));
    ASSERT_EQ(::kill(process, 0), 0);
    child.reset();
    EXPECT_EQ(::kill(process, 0), -1);
}

}  // namespace

}  // namespace quillbox::host
