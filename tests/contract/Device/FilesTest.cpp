// SPDX-License-Identifier: GPL-3.0-or-later
#include "DeviceTesting.h"

#include <algorithm>
#include <fstream>

namespace quillbox::testing {

namespace {

std::string pattern(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>((i * 31 + i / 251) & 0xFFU);
    }
    return text;
}

/// Every test runs with TLS and without.
class FilesTest : public DeviceTest, public ::testing::WithParamInterface<bool> {
protected:
    void startFiles(std::vector<std::string> more = {}) {
        more.insert(more.end(), {"--devices", "1", "--sample"});
        if (!GetParam()) {
            more.emplace_back("--no-tls");
        }
        start(more);
        device = connected();
        ASSERT_NE(device, nullptr);
        ASSERT_NE(connection = arrivalConnection, 0U);
    }

    AMDeviceRef device = nullptr;
    AFCConnectionRef connection = 0;
};

INSTANTIATE_TEST_SUITE_P(Tls, FilesTest, ::testing::Bool(),
                         [](const auto& suite) { return suite.param ? "WithTls" : "InTheClear"; });

TEST_P(FilesTest, EveryRequest) {
    startFiles();
    aside([&] {
        AFC& port = afc();
        EXPECT_EQ(port.AFCDirectoryCreate(connection, "/a/b"), kAFCSuccess);
        EXPECT_EQ(port.AFCDirectoryCreate(connection, "/a/b"), kAFCSuccess);
        const std::string content = pattern(9'500'000);
        EXPECT_EQ(writeAll(connection, "/a/b/file", content), kAFCSuccess);
        std::string back;
        EXPECT_EQ(readAll(connection, "/a/b/file", back), kAFCSuccess);
        EXPECT_TRUE(back == content);

        std::map<std::string, std::string> values;
        EXPECT_EQ(info(connection, "/a/b/file", values), kAFCSuccess);
        EXPECT_EQ(values["st_size"], std::to_string(content.size()));
        EXPECT_EQ(values["st_ifmt"], "S_IFREG");
        EXPECT_EQ(port.AFCTruncatePath(connection, "/a/b/file", 100), kAFCSuccess);
        EXPECT_EQ(port.AFCSetModificationTime(connection, "/a/b/file", 1'500'000'000'000'000'000U),
                  kAFCSuccess);
        EXPECT_EQ(info(connection, "/a/b/file", values), kAFCSuccess);
        EXPECT_EQ(values["st_size"], "100");
        EXPECT_EQ(values["st_mtime"], "1500000000000000000");

        EXPECT_EQ(port.AFCRenamePath(connection, "/a/b/file", "/a/moved"), kAFCSuccess);
        EXPECT_EQ(port.AFCLinkPath(connection, kAFCHardLink, "/a/moved", "/a/hard"), kAFCSuccess);
        EXPECT_EQ(port.AFCLinkPath(connection, kAFCSymbolicLink, "/a/soft", "moved"), kAFCSuccess);
        EXPECT_EQ(info(connection, "/a/soft", values), kAFCSuccess);
        EXPECT_EQ(values["LinkTarget"], "moved");
        EXPECT_EQ(info(connection, "/a/hard", values), kAFCSuccess);
        EXPECT_EQ(values["st_nlink"], "2");
        std::vector<std::string> names;
        EXPECT_EQ(list(connection, "/a", names), kAFCSuccess);
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, (std::vector<std::string>{".", "..", "b", "hard", "moved", "soft"}));

        AFCFileRef file = 0;
        EXPECT_EQ(port.AFCFileRefOpen(connection, "/a/moved", 2, &file), kAFCSuccess);
        EXPECT_EQ(port.AFCFileRefSetFileSize(connection, file, 10), kAFCSuccess);
        EXPECT_EQ(port.AFCFileRefSeek(connection, file, -4, 2), kAFCSuccess);
        std::array<char, 64> buffer{};
        std::uint64_t length = buffer.size();
        EXPECT_EQ(port.AFCFileRefRead(connection, file, buffer.data(), &length), kAFCSuccess);
        EXPECT_EQ(length, 4U);
        length = buffer.size();
        EXPECT_EQ(port.AFCFileRefRead(connection, file, buffer.data(), &length), kAFCSuccess);
        EXPECT_EQ(length, 0U);
        EXPECT_EQ(port.AFCFileRefWrite(connection, file, "more", 4), kAFCSuccess);
        EXPECT_EQ(port.AFCFileRefWrite(connection, file, "", 0), kAFCSuccess);
        EXPECT_EQ(port.AFCFileRefClose(connection, file), kAFCSuccess);
        EXPECT_EQ(port.AFCFileRefClose(connection, file), kAFCConnectionLost);
        EXPECT_EQ(info(connection, "/a/moved", values), kAFCSuccess);
        EXPECT_EQ(values["st_size"], "14");

        EXPECT_EQ(port.AFCRemovePath(connection, "/a"), kAFCDirectoryNotEmpty);
        EXPECT_EQ(port.AFCRemovePath(connection, "/a/b"), kAFCSuccess);
        EXPECT_EQ(port.AFCRemovePath(connection, "/a/nothing"), kAFCObjectNotFound);

        AFCKeyValueRef figures = 0;
        EXPECT_EQ(port.AFCDeviceInfoOpen(connection, &figures), kAFCSuccess);
        std::map<std::string, std::string> all;
        const char* key = nullptr;
        const char* value = nullptr;
        while (port.AFCKeyValueRead(figures, &key, &value) == kAFCSuccess && key != nullptr) {
            all[key] = value;
        }
        EXPECT_EQ(port.AFCKeyValueClose(figures), kAFCSuccess);
        EXPECT_EQ(port.AFCKeyValueClose(figures), kAFCConnectionLost);
        EXPECT_TRUE(all.contains("FSTotalBytes") && all.contains("FSFreeBytes") &&
                    all.contains("FSBlockSize"));
    });
    EXPECT_FALSE(log.has("broke"));
}

TEST_P(FilesTest, TheDevicesStatusIsTheAnswerAndIsRemembered) {
    startFiles();
    for (const AFCError status : {4U, 7U, 8U, 10U, 17U, 18U, 20U}) {
        simulator->control({"fail", "file-info", "1", std::to_string(status)});
        aside([&] {
            afc().forgetFailure();
            EXPECT_EQ(afc().lastFailure(), kAFCSuccess);
            std::map<std::string, std::string> values;
            EXPECT_EQ(info(connection, "/DCIM", values), status);
            EXPECT_EQ(afc().lastFailure(), status);
            EXPECT_EQ(info(connection, "/DCIM", values), kAFCSuccess);
            EXPECT_EQ(afc().lastFailure(), status) << "a success forgets nothing";
        });
    }
    std::map<std::string, std::string> values;
    afc().forgetFailure();
    EXPECT_EQ(info(connection, "/nothing", values), kAFCObjectNotFound);
    EXPECT_EQ(afc().lastFailure(), kAFCObjectNotFound) << "of the thread that called";
}

TEST_P(FilesTest, MainThreadCallsServeTimers) {
    startFiles();
    simulator->control({"latency", "60"});
    loop.ticks = 0;
    const int waits = loop.waits;
    const std::string content = pattern(300'000);
    EXPECT_EQ(writeAll(connection, "/main", content), kAFCSuccess);
    std::string back;
    EXPECT_EQ(readAll(connection, "/main", back), kAFCSuccess);
    EXPECT_TRUE(back == content);
    EXPECT_GT(loop.waits, waits + 4);
    EXPECT_GT(loop.ticks, 40);
    EXPECT_EQ(loop.earlyEnds, 0);
    EXPECT_EQ(loop.lastWait, "waiting for Blue Phone");
}

TEST_P(FilesTest, NumbersAreNeverUsedTwiceAndStrangeOnesAnswerLost) {
    startFiles();
    std::set<std::uint64_t> seen{connection};
    aside([&] {
        for (int i = 0; i < 20; ++i) {
            AFCFileRef file = 0;
            AFCDirectoryRef directory = 0;
            AFCKeyValueRef answer = 0;
            EXPECT_EQ(afc().AFCFileRefOpen(connection, "/number", 3, &file), kAFCSuccess);
            EXPECT_EQ(afc().AFCDirectoryOpen(connection, "/", &directory), kAFCSuccess);
            EXPECT_EQ(afc().AFCFileInfoOpen(connection, "/", &answer), kAFCSuccess);
            EXPECT_TRUE(seen.insert(file).second && seen.insert(directory).second &&
                        seen.insert(answer).second);
            EXPECT_EQ(afc().AFCFileRefClose(connection, file), kAFCSuccess);
            EXPECT_EQ(afc().AFCDirectoryClose(connection, directory), kAFCSuccess);
            EXPECT_EQ(afc().AFCKeyValueClose(answer), kAFCSuccess);
        }
    });
    AFCFileRef file = 0;
    EXPECT_EQ(afc().AFCFileRefOpen(connection, "/number", 3, &file), kAFCSuccess);
    const AFCConnectionRef other = openService(device);
    ASSERT_NE(other, 0U);
    EXPECT_TRUE(seen.insert(other).second);
    EXPECT_EQ(afc().AFCFileRefWrite(other, file, "x", 1), kAFCConnectionLost)
        << "a file of another connection";
    std::vector<std::pair<AFCConnectionRef, bool>> ends;
    library->setConnectionEndObserver([&](AFCConnectionRef ended, bool gone) {
        ends.emplace_back(ended, gone);
        EXPECT_EQ(afc().AFCFileRefWrite(ended, file, "y", 1), kAFCSuccess) << "still open";
    });
    EXPECT_EQ(afc().AFCConnectionClose(connection), kAFCSuccess);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends.front(), std::pair(connection, false));
    EXPECT_EQ(afc().AFCConnectionClose(connection), kAFCConnectionLost);
    EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "x", 1), kAFCConnectionLost);
    EXPECT_EQ(afc().AFCRemovePath(0, "/number"), kAFCConnectionLost);
    EXPECT_EQ(afc().AFCConnectionClose(12345678), kAFCConnectionLost);
    std::vector<std::string> names;
    EXPECT_EQ(list(other, "/", names), kAFCSuccess);
}

TEST_P(FilesTest, ListingsReadWhileTheConnectionIsClosed) {
    startFiles();
    AFCDirectoryRef directory = 0;
    const char* name = nullptr;
    EXPECT_EQ(afc().AFCDirectoryOpen(connection, "/", &directory), kAFCSuccess);
    EXPECT_EQ(afc().AFCDirectoryRead(connection, directory, &name), kAFCSuccess);
    const std::string copy = name;
    EXPECT_EQ(afc().AFCConnectionClose(connection), kAFCSuccess);
    EXPECT_EQ(copy, name) << "the text outlives the connection";
    EXPECT_EQ(afc().AFCDirectoryRead(connection, directory, &name), kAFCConnectionLost);
    EXPECT_EQ(afc().AFCDirectoryClose(connection, directory), kAFCConnectionLost);
}

TEST_P(FilesTest, CloseEndsACallInFlight) {
    startFiles();
    simulator->control({"stall", udidOf(1), "file-info"});
    std::thread closer{[&] {
        std::this_thread::sleep_for(200ms);
        EXPECT_EQ(afc().AFCConnectionClose(connection), kAFCSuccess);
    }};
    const auto begin = std::chrono::steady_clock::now();
    aside([&] {
        std::map<std::string, std::string> values;
        EXPECT_EQ(info(connection, "/DCIM", values), kAFCConnectionLost);
    });
    closer.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    EXPECT_FALSE(log.has("broke"));
}

TEST_P(FilesTest, DroppedConnectionIsOpenedAgainBeneathTheNumber) {
    startFiles();
    AFCFileRef file = 0;
    aside([&] { EXPECT_EQ(afc().AFCFileRefOpen(connection, "/kept", 3, &file), kAFCSuccess); });
    simulator->control({"drop-connections", udidOf(1)});
    aside([&] {
        EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "x", 1), kAFCIOError);
        std::vector<std::string> names;
        EXPECT_EQ(list(connection, "/", names), kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "x", 1), kAFCIOError);
        EXPECT_EQ(afc().AFCFileRefClose(connection, file), kAFCIOError);
        EXPECT_EQ(writeAll(connection, "/kept", "anew"), kAFCSuccess);
    });
    EXPECT_TRUE(log.has("is open again"));
    EXPECT_EQ(arrivals.size(), 1U);
    EXPECT_TRUE(departures.empty());
}

TEST_P(FilesTest, StallBreaksTheConnectionAndQueuedRequestsFailAtOnce) {
    startFiles();
    simulator->control({"stall", udidOf(1)});
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    std::atomic<int> failed{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            std::map<std::string, std::string> values;
            failed += info(connection, "/DCIM", values) == kAFCConnectionLost ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(failed, 4);
    EXPECT_GT(took, 1400ms);
    EXPECT_LT(took, 4500ms) << "one limit for all of them";
    simulator->control({"resume", udidOf(1)});
    EXPECT_TRUE(loop.runUntil([&] {
        std::vector<std::string> names;
        return list(connection, "/", names) == kAFCSuccess;
    }));
    EXPECT_TRUE(departures.empty());
}

TEST_P(FilesTest, AStallInTheMiddleOfAListingIsNotItsEnd) {
    startFiles();
    constexpr std::size_t kCount = 5000;
    const auto folder = simulator->media() / "many";
    std::filesystem::create_directory(folder);
    for (std::size_t i = 0; i < kCount; ++i) {
        std::ofstream{folder / ("a name that takes its time " + std::to_string(i))};
    }
    simulator->control({"bandwidth", "60000"});
    std::thread staller{[&] {
        // The names need some seconds.
        std::this_thread::sleep_for(300ms);
        simulator->control({"stall", udidOf(1)});
    }};
    aside([&] {
        std::vector<std::string> names;
        EXPECT_NE(list(connection, "/many", names), kAFCSuccess);
    });
    staller.join();
    EXPECT_TRUE(log.has("no progress"));
    simulator->control({"resume", udidOf(1)});
    simulator->control({"bandwidth", "0"});
    EXPECT_TRUE(loop.runUntil([&] {
        std::vector<std::string> names;
        return list(connection, "/many", names) == kAFCSuccess && names.size() >= kCount;
    }));
}

TEST_P(FilesTest, DepartureEndsAStalledCallAtOnce) {
    DeviceOptions options = quick();
    options.noProgress = 30s;
    std::vector<std::string> words{"--devices", "1", "--sample"};
    if (!GetParam()) {
        words.emplace_back("--no-tls");
    }
    start(words, options);
    ASSERT_NE(connected(), nullptr);
    connection = arrivalConnection;
    simulator->control({"stall", udidOf(1)});
    std::chrono::steady_clock::time_point pulled{};
    std::thread puller{[&] {
        std::this_thread::sleep_for(300ms);
        pulled = std::chrono::steady_clock::now();
        simulator->control({"detach", udidOf(1)});
    }};
    std::thread reader{[&] {
        std::map<std::string, std::string> values;
        EXPECT_EQ(info(connection, "/DCIM", values), kAFCConnectionLost);
    }};
    std::map<std::string, std::string> values;
    EXPECT_EQ(info(connection, "/DCIM", values), kAFCConnectionLost);
    reader.join();
    puller.join();
    EXPECT_LT(std::chrono::steady_clock::now() - pulled, 5s);
    EXPECT_TRUE(disconnected());
}

TEST_P(FilesTest, UnreachableDeviceIsAnnouncedAsGoneAndBack) {
    std::vector<std::string> words{"--devices", "1"};
    if (!GetParam()) {
        words.emplace_back("--no-tls");
    }
    DeviceOptions options = quick();
    options.unreachable = 1500ms;
    start(words, options);
    ASSERT_NE(connected(), nullptr);
    simulator->control({"stall", udidOf(1)});
    std::map<std::string, std::string> values;
    EXPECT_EQ(info(arrivalConnection, "/", values), kAFCConnectionLost);
    EXPECT_TRUE(disconnected());
    EXPECT_TRUE(log.has("cannot be reached any more"));
    simulator->control({"resume", udidOf(1)});
    EXPECT_NE(connected(2), nullptr);
}

TEST_P(FilesTest, QuitEndsAWaitAndStopIsBounded) {
    startFiles();
    simulator->control({"stall", udidOf(1)});
    loop.onTick = [&] { loop.quit(); };
    std::map<std::string, std::string> values;
    EXPECT_EQ(info(connection, "/", values), kAFCConnectionLost);
    loop.onTick = nullptr;
    const auto begin = std::chrono::steady_clock::now();
    library->stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 15s);
    EXPECT_EQ(info(connection, "/", values), kAFCConnectionLost);
    loop.runFor(100ms);
    EXPECT_TRUE(departures.empty());
}

}  // namespace

}  // namespace quillbox::testing
