// SPDX-License-Identifier: GPL-3.0-or-later
// Devices that answer otherwise than most do, and are understood all the same.
#include "DeviceTesting.h"

#include <fstream>

namespace quillbox::testing {

namespace {

class UnusualTest : public PlainDeviceTest {
protected:
    /// A file whose every place can be told from every other.
    std::string makeFile(const std::string& name, std::size_t size) const {
        std::string content;
        for (std::size_t i = 0; content.size() < size; ++i) {
            content += std::to_string(i) + ' ';
        }
        content.resize(size);
        std::ofstream{simulator->media() / name} << content;
        return content;
    }

    /// All of a file: what is short is gone on with, until nothing comes any more.
    std::string readInOrder(AFCFileRef file, std::size_t step) {
        std::string all;
        while (true) {
            const std::string some = read(file, static_cast<std::int64_t>(all.size()), step);
            if (some.empty()) {
                return all;
            }
            all += some;
        }
    }

    /// A device that refuses one request of a kind as it arrives.
    void arriveRefusing(const std::string& kind, const std::string& error) {
        simulator = std::make_unique<Simulator>(
            std::vector<std::string>{"--devices", "1", "--no-tls", "--detached"});
        simulator->control({"fail", kind, "1", error});
        startLibrary();
        simulator->control({"attach", udidOf(1)});
    }
};

TEST_F(UnusualTest, GivesLessAtATimeThanItIsAskedFor) {
    constexpr std::size_t kLongest = 20'000;
    begin({"--longest-read", std::to_string(kLongest)});
    aside([this] {
        const std::string content = makeFile("file", 2'000'000);
        for (const std::size_t step : {4'096U, 128'000U, 1'000'000U}) {
            const AFCFileRef file = open("/file");
            simulator->control({"counters", "reset"});
            EXPECT_EQ(readInOrder(file, step), content) << step;
            // What is asked for becomes as small as what comes: few answers are of no use.
            EXPECT_LT(simulator->count("read"), 2 * content.size() / kLongest + 40) << step;
            close(file);
        }
    });
}

TEST_F(UnusualTest, GivesLessAtATimeAndIsReadOutOfOrder) {
    begin({"--longest-read", "100000"});
    aside([this] {
        const std::string content = makeFile("file", 3'000'000);
        const AFCFileRef file = open("/file");
        constexpr std::size_t kStep = 128U << 10U;
        // As the kernel's own reading ahead does: pairs are turned round, some are left out.
        for (const std::size_t place : {0U, 1U, 2U, 4U, 3U, 6U, 5U, 7U, 9U, 12U, 11U, 10U, 8U}) {
            std::string got;
            while (got.size() < kStep) {
                const std::size_t at = place * kStep + got.size();
                const std::string some =
                    read(file, static_cast<std::int64_t>(at), kStep - got.size());
                ASSERT_FALSE(some.empty());
                got += some;
            }
            EXPECT_TRUE(got == content.substr(place * kStep, kStep)) << place;
        }
        close(file);
    });
}

TEST_F(UnusualTest, CountsDataAmongTheParameters) {
    begin();
    aside([this] {
        const std::string content =
            makeFile("a name of some length, to make the listing long", 5'000);
        for (int i = 0; i < 20; ++i) {
            makeFile("another name of some length " + std::to_string(i), 1);
        }
        for (const char* kind : {"read-directory", "file-info", "device-info", "read"}) {
            simulator->control({"malformed", kind, "1", "data-in-head"});
        }
        std::vector<std::string> names;
        EXPECT_EQ(list(connection, "/", names), kAFCSuccess);
        EXPECT_GE(names.size(), 21U);
        std::map<std::string, std::string> values;
        EXPECT_EQ(info(connection, "/another name of some length 3", values), kAFCSuccess);
        EXPECT_EQ(values["st_size"], "1");
        std::string text;
        EXPECT_EQ(readAll(connection, "/a name of some length, to make the listing long", text),
                  kAFCSuccess);
        EXPECT_EQ(text, content);
    });
    EXPECT_FALSE(log.has("broke"));
}

TEST_F(UnusualTest, SaysSuccessAtTheEndOfAFile) {
    begin();
    aside([this] {
        const std::string content = makeFile("file", 100);
        const AFCFileRef file = open("/file");
        EXPECT_EQ(read(file, 0, 100), content);
        simulator->control({"fail", "read", "1", "0"});
        EXPECT_EQ(read(file, 100, 100), "");
        EXPECT_EQ(read(file, 0, 100), content);
        close(file);
    });
    EXPECT_FALSE(log.has("broke"));
}

TEST_F(UnusualTest, HangsInItsFileServiceAlone) {
    begin();
    aside([this] {
        makeFile("file", 100);
        simulator->control({"stall", udidOf(1), "com.apple.afc"});
        std::map<std::string, std::string> values;
        EXPECT_NE(info(connection, "/file", values), kAFCSuccess);
        // The service is started anew, which does not help: none has to find that out by itself.
        EXPECT_NE(info(connection, "/file", values), kAFCSuccess);
    });
    EXPECT_FALSE(log.has("is open again"));
    simulator->control({"resume", udidOf(1), "com.apple.afc"});
    ASSERT_TRUE(logged("is open again"));
    aside([this] {
        std::map<std::string, std::string> values;
        EXPECT_EQ(info(connection, "/file", values), kAFCSuccess);
    });
}

TEST_F(UnusualTest, RefusesAPlaceBeyondAllFiles) {
    begin();
    aside([this] {
        ASSERT_EQ(writeAll(connection, "/file", "whole"), kAFCSuccess);
        const AFCFileRef file = open("/file", 2);
        simulator->control({"fail", "seek", "1", "invalid-argument"});
        EXPECT_EQ(afc().AFCFileRefSeek(connection, file, std::int64_t{1} << 61U, 0), kAFCSuccess);
        EXPECT_NE(afc().AFCFileRefWrite(connection, file, "x", 1), kAFCSuccess);
        close(file);
        std::string text;
        EXPECT_EQ(readAll(connection, "/file", text), kAFCSuccess);
        EXPECT_EQ(text, "whole") << "nothing is written elsewhere instead";
    });
}

TEST_F(UnusualTest, TellsItsValuesOneByOneOnly) {
    arriveRefusing("GetValue", "MissingValue");
    const AMDeviceRef device = connected();
    ASSERT_NE(device, nullptr);
    EXPECT_NE(DeviceLibrary::label(device).find(serialOf(1)), std::string::npos);
}

TEST_F(UnusualTest, DoesNotOfferItsMediaArea) {
    arriveRefusing("StartService", "InvalidService");
    EXPECT_TRUE(logged("\"com.apple.afc\" could not be opened"));
}

}  // namespace

}  // namespace quillbox::testing
