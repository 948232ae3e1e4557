// SPDX-License-Identifier: GPL-3.0-or-later
// What is asked ahead, read ahead and answered early, as the device counts it.
#include "DeviceTesting.h"

#include "Linux/Device/Files/DirectoryWalks.h"

#include <fstream>

namespace quillbox::testing {

namespace {

using AtHand = device::DirectoryWalks::AtHand;

class AheadTest : public PlainDeviceTest {
protected:
    bool exists(const std::string& path) {
        AFCKeyValueRef answer = 0;
        if (afc().AFCFileInfoOpen(connection, path, &answer) != kAFCSuccess) {
            return false;
        }
        afc().AFCKeyValueClose(answer);
        return true;
    }

    std::string sizeOf(const std::string& path) {
        std::map<std::string, std::string> values;
        return info(connection, path, values) == kAFCSuccess ? values["st_size"] : "";
    }
};

TEST_F(AheadTest, AnUnreadAnswerServesOneQuestionAndAChangeDropsIt) {
    begin();
    makeFile("file", 3, 'a');
    onThread([&] {
        simulator->control({"counters", "reset"});
        EXPECT_TRUE(exists("/file"));
        EXPECT_EQ(sizeOf("/file"), "3");
        EXPECT_EQ(simulator->count("file-info"), 1);
        EXPECT_EQ(sizeOf("/file"), "3");
        EXPECT_EQ(simulator->count("file-info"), 2) << "given out once";
        EXPECT_TRUE(exists("/file"));
        EXPECT_EQ(afc().AFCTruncatePath(connection, "/file", 1), kAFCSuccess);
        EXPECT_EQ(sizeOf("/file"), "1");
    });
}

TEST_F(AheadTest, AWalkInOrderCostsFewRoundTrips) {
    begin();
    for (int i = 0; i < 300; ++i) {
        makeFile("folder/" + std::to_string(i), 1, 'a');
    }
    onThread([&] {
        simulator->control({"counters", "reset"});
        std::vector<std::string> names;
        ASSERT_EQ(list(connection, "/folder", names), kAFCSuccess);
        for (const std::string& name : names) {
            if (name != "." && name != "..") {
                EXPECT_EQ(sizeOf("/folder/" + name), "1");
            }
        }
        EXPECT_LT(simulator->count("round-trips"), 100);
    });
}

TEST_F(AheadTest, AFailureThatWasAskedAheadIsThatPathsAlone) {
    begin();
    for (int i = 0; i < 40; ++i) {
        makeFile("folder/" + std::to_string(i), 1, 'a');
    }
    onThread([&] {
        std::vector<std::string> names;
        ASSERT_EQ(list(connection, "/folder", names), kAFCSuccess);
        simulator->control({"fail-nth", "file-info", "10", "20"});
        int failed = 0;
        for (const std::string& name : names) {
            if (name != "." && name != "..") {
                failed += sizeOf("/folder/" + name) == "1" ? 0 : 1;
            }
        }
        EXPECT_EQ(failed, 1);
    });
}

TEST_F(AheadTest, WhatIsReadAheadIsDroppedByAChangeThroughAnotherHandle) {
    begin();
    constexpr std::size_t kStep = 128U << 10U;
    makeFile("file", 20 * kStep, 'o');
    onThread([&] {
        AFCFileRef reader = 0;
        AFCFileRef writer = 0;
        ASSERT_EQ(afc().AFCFileRefOpen(connection, "/file", 1, &reader), kAFCSuccess);
        ASSERT_EQ(afc().AFCFileRefOpen(connection, "/file", 2, &writer), kAFCSuccess);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(read(reader, i * static_cast<std::int64_t>(kStep), kStep),
                      std::string(kStep, 'o'));
        }
        const std::string fresh(kStep, 'n');
        EXPECT_EQ(afc().AFCFileRefSeek(connection, writer, 4 * kStep, 0), kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefWrite(connection, writer, fresh.data(), kStep), kAFCSuccess);
        EXPECT_EQ(read(reader, 4 * kStep, kStep), fresh);
        EXPECT_EQ(read(reader, 5 * kStep, kStep), std::string(kStep, 'o'));
        EXPECT_EQ(read(reader, 19 * kStep, 2 * kStep).size(), kStep) << "the end";
        EXPECT_EQ(read(reader, 20 * kStep, kStep).size(), 0U);
    });
}

TEST_F(AheadTest, WhatHasArrivedIsTakenInWhenThereIsAMoment) {
    begin();
    constexpr std::size_t kStep = 128U << 10U;
    makeFile("file", 20 * kStep, 'o');
    onThread([&] {
        AFCFileRef file = 0;
        ASSERT_EQ(afc().AFCFileRefOpen(connection, "/file", 1, &file), kAFCSuccess);
        for (int i = 0; i < 3; ++i) {
            read(file, i * static_cast<std::int64_t>(kStep), kStep);
        }
        const auto asked = simulator->count("read");
        EXPECT_GT(asked, 2) << "it reads ahead";
        for (int i = 0; i < 20; ++i) {
            afc().AFCConnectionTakeArrived(connection);
            std::this_thread::sleep_for(5ms);
        }
        EXPECT_EQ(simulator->count("read"), asked) << "nothing is asked for";
        simulator->control({"stall", udidOf(1)});
        EXPECT_EQ(read(file, 3 * kStep, kStep), std::string(kStep, 'o')) << "it is here";
        afc().AFCConnectionTakeArrived(connection);
        afc().AFCConnectionTakeArrived(connection + 1);
        simulator->control({"resume", udidOf(1)});
    });
    EXPECT_FALSE(log.has("broke"));
}

TEST_F(AheadTest, ASeekThatFailsIsTheTransfersFailure) {
    begin();
    makeFile("file", 1000, 'o');
    onThread([&] {
        AFCFileRef file = 0;
        ASSERT_EQ(afc().AFCFileRefOpen(connection, "/file", 2, &file), kAFCSuccess);
        simulator->control({"fail", "seek", "1", "7"});
        EXPECT_EQ(afc().AFCFileRefSeek(connection, file, 500, 0), kAFCSuccess);
        std::array<char, 10> buffer{};
        std::uint64_t length = buffer.size();
        EXPECT_EQ(afc().AFCFileRefRead(connection, file, buffer.data(), &length), 7U);
        EXPECT_EQ(read(file, 995, 10).size(), 5U) << "and the next one's place is right";
        simulator->control({"fail", "seek", "1", "7"});
        EXPECT_EQ(afc().AFCFileRefSeek(connection, file, 100, 0), kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "x", 1), 7U);
    });
    EXPECT_FALSE(log.has("broke"));
}

TEST_F(AheadTest, AnEarlyWritesFailureIsToldByTheNextCallOnce) {
    begin();
    onThread([&] {
        AFCFileRef file = 0;
        ASSERT_EQ(afc().AFCFileRefOpen(connection, "/file", 3, &file), kAFCSuccess);
        afc().answerWritesEarly(true);
        simulator->control({"fail", "write", "1", "18"});
        EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "lost", 4), kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefSettle(connection, file), 18U);
        EXPECT_EQ(afc().AFCFileRefSettle(connection, file), kAFCSuccess);
        simulator->control({"fail", "write", "1", "18"});
        EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "lost", 4), kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefClose(connection, file), 18U);
        afc().answerWritesEarly(false);
        ASSERT_EQ(afc().AFCFileRefOpen(connection, "/file", 3, &file), kAFCSuccess);
        simulator->control({"fail", "write", "1", "18"});
        EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "lost", 4), 18U) << "not asked for";
    });
}

TEST_F(AheadTest, WritesThatWereNotAnsweredAreLostWithTheirConnection) {
    begin();
    onThread([&] {
        AFCFileRef file = 0;
        ASSERT_EQ(afc().AFCFileRefOpen(connection, "/file", 3, &file), kAFCSuccess);
        afc().answerWritesEarly(true);
        simulator->control({"latency", "200"});
        EXPECT_EQ(afc().AFCFileRefWrite(connection, file, "lost", 4), kAFCSuccess);
        simulator->control({"drop-connections", udidOf(1)});
        EXPECT_NE(afc().AFCFileRefSettle(connection, file), kAFCSuccess);
        afc().answerWritesEarly(false);
    });
}

TEST_F(AheadTest, AFolderThatWasMadeHereNeedsNoQuestions) {
    begin();
    onThread([&] {
        EXPECT_FALSE(exists("/made"));
        EXPECT_EQ(afc().AFCDirectoryCreate(connection, "/made"), kAFCSuccess);
        EXPECT_TRUE(exists("/made"));
        simulator->control({"counters", "reset"});
        EXPECT_FALSE(exists("/made/one"));
        EXPECT_FALSE(exists("/made/two"));
        EXPECT_EQ(simulator->count("file-info"), 0);
        EXPECT_EQ(writeAll(connection, "/made/one", "text"), kAFCSuccess);
        EXPECT_TRUE(exists("/made/one"));
        EXPECT_EQ(afc().AFCRenamePath(connection, "/made/one", "/made/two"), kAFCSuccess);
        EXPECT_FALSE(exists("/made/one"));
        EXPECT_TRUE(exists("/made/two"));
        makeFile("made/theirs", 1, 't');
        std::this_thread::sleep_for(600ms);
        EXPECT_TRUE(exists("/made/theirs"));
    });
}

TEST(DirectoryWalksTest, AsksAheadInOrderAndStartsSmallAfterAChange) {
    device::DirectoryWalks walks;
    auto names = std::make_shared<std::vector<std::string>>();
    for (int i = 0; i < 2000; ++i) {
        names->push_back("n" + std::to_string(i));
    }
    walks.begin("/folder", names, 0);
    const auto first = walks.wasAsked("/folder/n0", AtHand::No);
    ASSERT_FALSE(first.names.empty());
    EXPECT_EQ(first.folder, "/folder");
    EXPECT_EQ(first.names.front(), "n1");
    EXPECT_TRUE(walks.wasAsked("/folder/n1", AtHand::Fresh).names.empty())
        << "enough is on its way";
    EXPECT_TRUE(walks.wasAsked("/elsewhere/n2", AtHand::No).names.empty());
    EXPECT_TRUE(walks.wasAsked("/folder/other", AtHand::No).names.empty());
    std::size_t asked = first.names.size();
    for (int i = 2; i < 1500; ++i) {
        const auto more = walks.wasAsked("/folder/n" + std::to_string(i), AtHand::Fresh);
        if (!more.names.empty()) {
            EXPECT_EQ(more.names.front(), "n" + std::to_string(1 + asked)) << "nothing twice";
            asked += more.names.size();
        }
    }
    EXPECT_GE(asked, 1499U);
    walks.wasDropped();
    EXPECT_LE(walks.wasAsked("/folder/n1500", AtHand::No).names.size(), 2U);
}

TEST(DirectoryWalksTest, AsksAnewBeforeAnswersAreTooOld) {
    device::DirectoryWalks walks;
    auto names = std::make_shared<std::vector<std::string>>();
    for (int i = 0; i < 200; ++i) {
        names->push_back("n" + std::to_string(i));
    }
    walks.begin("/folder", names, 0);
    walks.wasAsked("/folder/n0", AtHand::No);
    for (int i = 1; i < 20; ++i) {
        walks.wasAsked("/folder/n" + std::to_string(i), AtHand::Fresh);
    }
    const auto again = walks.wasAsked("/folder/n20", AtHand::Old);
    ASSERT_EQ(again.names.size(), 42U) << "twice as many as were passed";
    EXPECT_EQ(again.names.front(), "n21");
    EXPECT_TRUE(walks.wasAsked("/folder/n21", AtHand::Old).names.empty()) << "it was just asked";
    EXPECT_TRUE(walks.isEntry("/folder/n7"));
    EXPECT_FALSE(walks.isEntry("/folder/other"));
}

TEST(DirectoryWalksTest, ListsFoldersAheadThatAreKnownToBeSome) {
    device::DirectoryWalks walks;
    walks.begin("/",
                std::make_shared<std::vector<std::string>>(
                    std::vector<std::string>{".", "..", "a", "b", "c", "d", "e"}),
                0);
    for (const char* folder : {"/a", "/b", "/d", "/e"}) {
        walks.isKnown(folder, true);
    }
    EXPECT_EQ(walks.wasListed("/a").names, (std::vector<std::string>{"b", "d"}));
    EXPECT_EQ(walks.wasListed("/b").names, (std::vector<std::string>{"d", "e"}));
    EXPECT_TRUE(walks.wasListed("/a").names.empty()) << "not in order";
}

}  // namespace

}  // namespace quillbox::testing
