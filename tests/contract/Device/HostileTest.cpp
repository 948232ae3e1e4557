// SPDX-License-Identifier: GPL-3.0-or-later
#include "DeviceTesting.h"

#include <algorithm>

namespace quillbox::testing {

namespace {

/// A device that answers as no device should: the call fails, the program goes on, and the next
/// call works over a new connection.
class HostileTest : public DeviceTest, public ::testing::WithParamInterface<const char*> {
protected:
    void begin() {
        start({"--devices", "1", "--sample"});
        ASSERT_NE(connected(), nullptr);
        ASSERT_NE(arrivalConnection, 0U);
    }

    /// Gets back to a working connection within the time that is promised for it.
    void recovers() {
        EXPECT_TRUE(loop.runUntil(
            [&] {
                std::map<std::string, std::string> values;
                return info(arrivalConnection, "/", values) == kAFCSuccess;
            },
            2s));
        EXPECT_TRUE(departures.empty());
    }
};

INSTANTIATE_TEST_SUITE_P(Packets, HostileTest,
                         ::testing::Values("wrong-magic", "short", "oversized", "truncated-silent",
                                           "truncated-close", "other-number", "wrong-operation"),
                         [](const auto& suite) {
                             std::string name = suite.param;
                             std::erase(name, '-');
                             return name;
                         });

TEST_P(HostileTest, SpoiledPacketFailsTheCallOnly) {
    begin();
    for (const char* kind : {"read-directory", "file-info", "device-info", "remove", "open", "read",
                             "write", "seek", "close", "make-directory"}) {
        AFCFileRef file = 0;
        ASSERT_EQ(afc().AFCFileRefOpen(arrivalConnection, "/victim", 4, &file), kAFCSuccess);
        simulator->control({"malformed", kind, "1", GetParam()});
        const std::string wanted = kind;
        AFCError error = kAFCSuccess;
        std::map<std::string, std::string> values;
        std::vector<std::string> names;
        std::array<char, 32> buffer{};
        std::uint64_t length = buffer.size();
        AFCKeyValueRef answer = 0;
        AFCFileRef other = 0;
        if (wanted == "read-directory") {
            error = list(arrivalConnection, "/", names);
        } else if (wanted == "file-info") {
            error = info(arrivalConnection, "/", values);
        } else if (wanted == "device-info") {
            error = afc().AFCDeviceInfoOpen(arrivalConnection, &answer);
        } else if (wanted == "remove") {
            error = afc().AFCRemovePath(arrivalConnection, "/nothing");
        } else if (wanted == "open") {
            error = afc().AFCFileRefOpen(arrivalConnection, "/victim", 1, &other);
        } else if (wanted == "read") {
            error = afc().AFCFileRefRead(arrivalConnection, file, buffer.data(), &length);
        } else if (wanted == "write") {
            error = afc().AFCFileRefWrite(arrivalConnection, file, "x", 1);
        } else if (wanted == "seek") {
            // It travels with the transfer that it is for.
            EXPECT_EQ(afc().AFCFileRefSeek(arrivalConnection, file, 5, 0), kAFCSuccess);
            error = afc().AFCFileRefRead(arrivalConnection, file, buffer.data(), &length);
        } else if (wanted == "close") {
            // Nobody waits for the answer: whoever asks next finds the connection broken, or
            // already opened again.
            EXPECT_EQ(afc().AFCFileRefClose(arrivalConnection, file), kAFCSuccess);
            recovers();
            EXPECT_TRUE(log.has("is open again"));
            continue;
        } else {
            error = afc().AFCDirectoryCreate(arrivalConnection, "/made");
        }
        EXPECT_EQ(error, kAFCConnectionLost) << kind;
        EXPECT_TRUE(names.empty() && values.empty());
        recovers();
    }
}

class HostileListTest : public HostileTest {};

INSTANTIATE_TEST_SUITE_P(Lists, HostileListTest,
                         ::testing::Values("endless-list", "odd-list", "unterminated-list"),
                         [](const auto& suite) {
                             std::string name = suite.param;
                             std::erase(name, '-');
                             return name;
                         });

TEST_P(HostileListTest, DamagedListIsAFailureNeverShort) {
    begin();
    simulator->control({"malformed", "file-info", "1", GetParam()});
    std::map<std::string, std::string> values;
    EXPECT_EQ(info(arrivalConnection, "/", values), kAFCConnectionLost);
    EXPECT_TRUE(values.empty());
    recovers();
    if (std::string{GetParam()} == "unterminated-list") {
        simulator->control({"malformed", "read-directory", "1", GetParam()});
        std::vector<std::string> names;
        EXPECT_EQ(list(arrivalConnection, "/", names), kAFCConnectionLost);
        EXPECT_TRUE(names.empty());
        recovers();
    }
}

class HostileNamesTest : public HostileTest {};

INSTANTIATE_TEST_SUITE_P(Names, HostileNamesTest,
                         ::testing::Values("names-slash", "names-empty", "names-dotdot",
                                           "names-nul"),
                         [](const auto& suite) {
                             std::string name = suite.param;
                             std::erase(name, '-');
                             return name;
                         });

TEST_P(HostileNamesTest, ImpossibleNamesAreLeftOut) {
    begin();
    simulator->control({"malformed", "read-directory", "1", GetParam()});
    std::vector<std::string> names;
    EXPECT_EQ(list(arrivalConnection, "/", names), kAFCSuccess);
    EXPECT_EQ(std::count(names.begin(), names.end(), "good"), 1);
    for (const std::string& name : names) {
        EXPECT_FALSE(name.empty());
        EXPECT_EQ(name.find('/'), std::string::npos) << name;
    }
    const bool dropped = std::string{GetParam()} != "names-nul";
    EXPECT_EQ(log.has("impossible names were left out"), dropped);
}

TEST_F(HostileTest, DataWhereAStatusIsDue) {
    begin();
    simulator->control({"malformed", "remove", "1", "data-for-status"});
    EXPECT_EQ(afc().AFCRemovePath(arrivalConnection, "/nothing"), kAFCConnectionLost);
    recovers();
}

TEST_F(HostileTest, HundredThousandEntries) {
    begin();
    simulator->control({"malformed", "read-directory", "1", "entries-100000"});
    std::vector<std::string> names;
    EXPECT_EQ(list(arrivalConnection, "/", names), kAFCSuccess);
    EXPECT_GE(names.size(), 100'000U);
}

TEST_F(HostileTest, SuccessWithoutDataIsABrokenAnswer) {
    begin();
    simulator->control({"fail", "read-directory", "1", "0"});
    std::vector<std::string> names;
    EXPECT_EQ(list(arrivalConnection, "/", names), kAFCConnectionLost);
    recovers();
}

TEST_F(HostileTest, EndOfDataIsAnEmptyRead) {
    begin();
    ASSERT_EQ(writeAll(arrivalConnection, "/short", "text"), kAFCSuccess);
    AFCFileRef file = 0;
    ASSERT_EQ(afc().AFCFileRefOpen(arrivalConnection, "/short", 1, &file), kAFCSuccess);
    simulator->control({"fail", "read", "1", "end-of-data"});
    std::array<char, 32> buffer{};
    std::uint64_t length = buffer.size();
    EXPECT_EQ(afc().AFCFileRefRead(arrivalConnection, file, buffer.data(), &length), kAFCSuccess);
    EXPECT_EQ(length, 0U);
}

TEST_F(HostileTest, PathWithANulNeverTravels) {
    begin();
    EXPECT_EQ(afc().AFCRemovePath(arrivalConnection, std::string("/DCIM\0x", 7)),
              kAFCInvalidArgument);
}

}  // namespace

}  // namespace quillbox::testing
