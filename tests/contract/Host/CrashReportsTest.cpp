// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/CrashReports.h"
#include "HostTesting.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <csignal>

namespace quillbox::host {
namespace {

class TellingWorkspace final : public Workspace {
public:
    void openFile(const std::string& /*path*/) override {}

    void openURL(const std::string& /*address*/) override {}

    void runAlert(const std::string& /*title*/, const std::string& /*message*/) override {}

    void offerToShow(const std::string& /*title*/, const std::string& message,
                     const std::string& path) override {
        messages.push_back(message);
        offered.push_back(path);
    }

    std::vector<std::string> messages;
    std::vector<std::string> offered;
};

class CrashReportsTest : public ::testing::Test {
protected:
    std::vector<std::string> reports(const std::string& extension) const {
        std::vector<std::string> found;
        std::error_code error;
        for (const auto& each : std::filesystem::directory_iterator(crashes, error)) {
            if (each.path().extension() == extension) {
                found.push_back(each.path());
            }
        }
        return found;
    }

    /// A process that crashes; the signal that it ended with.
    int crash(int signal) const {
        const pid_t child = ::fork();
        if (child == 0) {
            const bool isReady = CrashReports::reportCrashes(crashes, "Program 1.0");
            if (isReady) {
                ::raise(signal);
            }
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    TestFolder folder;
    const std::string crashes = folder / "state/crashes";
    TellingWorkspace workspace;
};

TEST_F(CrashReportsTest, ACrashLeavesAReportAndEndsAsItWouldHave) {
    for (const int signal : {SIGSEGV, SIGABRT}) {
        EXPECT_EQ(crash(signal), signal);
    }
    const auto found = reports(".crash");
    ASSERT_EQ(found.size(), 2U);
    for (const auto& report : found) {
        const auto text = readText(report);
        EXPECT_TRUE(text.starts_with("Program 1.0\nSIG")) << text;
        EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 4) << text;
        EXPECT_EQ(std::filesystem::status(report).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
}

TEST_F(CrashReportsTest, ANewReportIsToldOnceWithTheOfferToShowTheFolder) {
    writeText(crashes + "/quillbox-1-2.crash", "report");
    writeText(crashes + "/quillbox-1-3.crash", "report");
    CrashReports(crashes, workspace).checkForNewCrashes();
    EXPECT_EQ(workspace.offered, (std::vector<std::string>{crashes}));
    EXPECT_EQ(reports(".txt").size(), 2U);
    CrashReports(crashes, workspace).checkForNewCrashes();
    EXPECT_EQ(workspace.offered.size(), 1U);
}

TEST_F(CrashReportsTest, WithoutReportsNothingIsTold) {
    CrashReports(crashes, workspace).checkForNewCrashes();
    writeText(crashes + "/notes.txt", "old");
    CrashReports(crashes, workspace).checkForNewCrashes();
    EXPECT_TRUE(workspace.offered.empty());
}

TEST_F(CrashReportsTest, WhereNoFolderCanBeMadeNothingIsReported) {
    writeText(folder / "state", "a file in the way");
    EXPECT_FALSE(CrashReports::reportCrashes(crashes, "Program 1.0"));
}

}  // namespace
}  // namespace quillbox::host
