// SPDX-License-Identifier: GPL-3.0-or-later
// Volumes that a crash left behind.
#include "Linux/Volume/LeftOvers.h"
#include "MountedVolume.h"

#include <csignal>
#include <sys/wait.h>
#include <thread>

namespace quillbox::test {
namespace {

class LeftOverVolumes : public MountedVolume {
protected:
    /// A second instance, in a process of its own, with a volume that is mounted when this returns.
    pid_t instance(const std::string& path) {
        const pid_t process = startSelf({"--serve", path});
        EXPECT_TRUE(loop.runUntil([&] { return exists(path + "/ready"); }));
        return process;
    }

    static void kill(pid_t process) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
};

TEST_F(LeftOverVolumes, AreRemovedWithTheirFolders) {
    const pid_t process = instance(top);
    kill(process);
    ASSERT_TRUE(isInMountTable());
    ASSERT_FALSE(exists(at("/")));
    removeLeftOverVolumes(folder.path(), log);
    EXPECT_FALSE(isInMountTable());
    EXPECT_FALSE(exists(top));
    EXPECT_TRUE(log.has("Removed the left-over volume " + top));
    mount();
    EXPECT_TRUE(exists(at("/")));
}

TEST_F(LeftOverVolumes, OfALiveInstanceAreLeftAlone) {
    const pid_t process = instance(top);
    removeLeftOverVolumes(folder.path(), log);
    EXPECT_TRUE(exists(at("/")));
    ::kill(process, SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    removeLeftOverVolumes(folder.path(), log);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
    EXPECT_TRUE(isInMountTable());
    ::kill(process, SIGCONT);
    EXPECT_TRUE(exists(at("/")));
    kill(process);
}

TEST_F(LeftOverVolumes, OfOtherFoldersAreLeftAlone) {
    std::filesystem::create_directory(folder.path() + "/deep");
    const std::string deep = folder.path() + "/deep/phone";
    const pid_t process = instance(deep);
    kill(process);
    removeLeftOverVolumes(folder.path(), log);
    EXPECT_NE(contentOf("/proc/self/mountinfo").find(" " + deep + " "), std::string::npos);
    removeLeftOverVolumes(folder.path() + "/nowhere", log);
    removeLeftOverVolumes(folder.path() + "/deep", log);
    EXPECT_EQ(contentOf("/proc/self/mountinfo").find(" " + deep + " "), std::string::npos);
}

}  // namespace
}  // namespace quillbox::test
