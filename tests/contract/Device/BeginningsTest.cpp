// SPDX-License-Identifier: GPL-3.0-or-later
// The beginning of a file that is asked for together with its opening.
#include "DeviceTesting.h"

#include "Linux/Device/Files/FileNumbers.h"

#include <atomic>
#include <fstream>
#include <optional>

namespace quillbox::testing {

namespace {

/// Files whose beginning comes with their opening, since those before them were read from there.
class BeginningsTest : public PlainDeviceTest {
protected:
    void begin() {
        PlainDeviceTest::begin();
        onThread([this] {
            for (int i = 0; i < 4; ++i) {
                makeFile("seen", 10, 's');
                const AFCFileRef file = open("/seen");
                EXPECT_EQ(read(file, 0, 20), std::string(10, 's'));
                close(file);
            }
            simulator->control({"counters", "reset"});
        });
    }
};

TEST_F(BeginningsTest, ComeInTheSameRoundTrip) {
    begin();
    makeFile("small", 50'000, 'a');
    makeFile("large", 300'000, 'b');
    onThread([&] {
        simulator->control({"latency", "20"});
        simulator->control({"counters", "reset"});
        const AFCFileRef small = open("/small");
        EXPECT_EQ(read(small, 0, 64U << 10U), std::string(50'000, 'a'));
        EXPECT_EQ(simulator->count("round-trips"), 1);
        EXPECT_EQ(read(small, 40'000, 64U << 10U), std::string(10'000, 'a'));
        close(small);
        const AFCFileRef large = open("/large");
        EXPECT_EQ(read(large, 0, 200'000), std::string(200'000, 'b'));
        EXPECT_EQ(read(large, 200'000, 200'000), std::string(100'000, 'b'));
        close(large);
    });
}

TEST_F(BeginningsTest, AreNotAskedForWhenTheyWereNotWanted) {
    begin();
    makeFile("small", 10, 'a');
    onThread([&] {
        close(open("/small"));
        simulator->control({"counters", "reset"});
        close(open("/small"));
        const AFCFileRef file = open("/small");
        EXPECT_EQ(simulator->count("read"), 0);
        EXPECT_EQ(read(file, 0, 20), std::string(10, 'a'));
        close(file);
        close(open("/small"));
        EXPECT_EQ(simulator->count("read"), 2) << "they were, once more";
    });
}

TEST_F(BeginningsTest, AreDroppedWhenTheFileIsChanged) {
    begin();
    makeFile("file", 10, 'o');
    onThread([&] {
        const AFCFileRef reader = open("/file");
        const AFCFileRef writer = open("/file", 2);
        EXPECT_EQ(afc().AFCFileRefWrite(connection, writer, "new", 3), kAFCSuccess);
        EXPECT_EQ(read(reader, 0, 20), "newooooooo");
        close(writer);
        const AFCFileRef second = open("/file");
        EXPECT_EQ(afc().AFCTruncatePath(connection, "/file", 2), kAFCSuccess);
        EXPECT_EQ(read(second, 0, 20), "ne");
        close(reader);
        close(second);
    });
}

TEST_F(BeginningsTest, ThatWereShortDoNotMisplaceALaterRead) {
    begin();
    makeFile("file", 50'000, 'o');
    onThread([&] {
        const AFCFileRef file = open("/file");
        std::string grown(64U << 10U, 'o');
        grown += "behind";
        std::ofstream{simulator->media() / "file"} << grown;
        EXPECT_EQ(read(file, 64 << 10, 20), "behind");
        close(file);
    });
}

TEST_F(BeginningsTest, OfAFileThatCannotBeOpenedAreNobodyElses) {
    begin();
    makeFile("there", 10, 't');
    onThread([&] {
        const AFCFileRef first = open("/there");
        AFCFileRef missing = 0;
        EXPECT_EQ(afc().AFCFileRefOpen(connection, "/missing", 1, &missing), kAFCObjectNotFound);
        const AFCFileRef second = open("/there");
        EXPECT_EQ(read(second, 0, 20), std::string(10, 't'));
        EXPECT_EQ(read(first, 0, 20), std::string(10, 't'));
        simulator->control({"fail", "read", "1", "10"});
        const AFCFileRef third = open("/there");
        EXPECT_EQ(read(third, 0, 20), std::string(10, 't')) << "the reader's own question is asked";
        for (const AFCFileRef file : {first, second, third}) {
            close(file);
        }
    });
    EXPECT_FALSE(log.has("broke"));
}

TEST(FileNumbersTest, GuessesTheNextOfARowThatNobodyHas) {
    device::FileNumbers numbers;
    const auto guess = [&] { return numbers.begin(true).guess; };
    EXPECT_EQ(guess(), std::nullopt);
    for (const std::uint64_t number : {7U, 8U, 9U}) {
        numbers.opened(number);
    }
    EXPECT_EQ(guess(), std::nullopt) << "nobody reads them";
    numbers.used(true);
    EXPECT_EQ(guess(), 10U);
    EXPECT_EQ(numbers.begin(false).guess, std::nullopt);
    {
        std::atomic<bool> isOver = false;
        std::thread other;
        {
            const auto opening = numbers.begin(true);
            EXPECT_EQ(opening.guess, 10U);
            other = std::thread{[&] {
                EXPECT_EQ(numbers.begin(true).guess, std::nullopt);
                EXPECT_TRUE(isOver) << "nobody else opens meanwhile";
            }};
            std::this_thread::sleep_for(20ms);
            numbers.opened(12);
            isOver = true;
        }
        other.join();
    }
    EXPECT_EQ(guess(), std::nullopt) << "the row is broken";
    numbers.opened(5);
    numbers.opened(6);
    EXPECT_EQ(guess(), std::nullopt);
    numbers.closed(12);
    numbers.opened(7);
    EXPECT_EQ(guess(), std::nullopt) << "8 is in use";
    numbers.closed(8);
    EXPECT_EQ(guess(), 8U);
    numbers.used(false);
    EXPECT_EQ(guess(), std::nullopt);
}

TEST(FileNumbersTest, GuessesNothingWhileManyFilesAreOpen) {
    device::FileNumbers numbers;
    numbers.used(true);
    std::uint64_t number = 1;
    numbers.opened(number++);
    do {
        numbers.opened(number++);
    } while (number < 5 || (number < 1000 && numbers.begin(true).guess));
    EXPECT_LT(number, 100U);
    numbers.closed(1);
    EXPECT_NE(numbers.begin(true).guess, std::nullopt);
}

}  // namespace

}  // namespace quillbox::testing
