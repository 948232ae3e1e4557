// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Multiplexer/DeviceRoster.h"
#include "Linux/Device/Streams/PropertyLists.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillbox::device {

namespace {

using namespace std::chrono_literals;

class RosterTest : public ::testing::Test, public RosterEvents {
protected:
    void arrived(const std::string& udid) override { told.push_back("arrived " + udid); }

    void departed(const std::string& udid) override { told.push_back("departed " + udid); }

    void paired(const std::string& udid) override { told.push_back("paired " + udid); }

    void pathChanged(const std::string& udid) override { told.push_back("path " + udid); }

    bool hasLiveConnection(const std::string&) override { return alive; }

    using Told = std::vector<std::string>;
    Told told;
    bool alive = false;
    DeviceRoster roster{*this, 1s};
    DeviceRoster::Clock::time_point now{};
};

TEST_F(RosterTest, ArrivalAndDeparture) {
    roster.attached(1, "a", true);
    roster.attached(1, "a", true);
    roster.detached(1);
    roster.detached(1);
    EXPECT_EQ(told, (Told{"arrived a", "departed a"}));
}

TEST_F(RosterTest, DetachedWithoutAttachedIsNothing) {
    roster.detached(9);
    EXPECT_TRUE(told.empty());
}

TEST_F(RosterTest, PairedBeforeAttachedIsKept) {
    roster.paired(3);
    EXPECT_TRUE(told.empty());
    roster.attached(3, "a", true);
    EXPECT_EQ(told, (Told{"arrived a", "paired a"}));
    roster.paired(4);
    roster.detached(4);
    roster.attached(4, "b", true);
    EXPECT_EQ(told.back(), "arrived b") << "pulled out meanwhile: the word is void";
}

TEST_F(RosterTest, CableGoesBeforeNetwork) {
    roster.attached(1, "a", false);
    roster.attached(2, "a", true);
    roster.detached(2);
    roster.detached(1);
    EXPECT_EQ(told, (Told{"arrived a", "path a", "path a", "departed a"}));
    told.clear();
    roster.attached(2, "a", true);
    roster.attached(1, "a", false);
    roster.detached(1);
    EXPECT_EQ(told, (Told{"arrived a"})) << "the cable is not touched by the network";
}

TEST_F(RosterTest, NumberOfAnotherDeviceIsNewsOfBoth) {
    roster.attached(1, "a", true);
    roster.attached(1, "b", true);
    EXPECT_EQ(told, (Told{"arrived a", "departed a", "arrived b"}));
}

TEST_F(RosterTest, RestartWithOtherNumbersLeavesThemAttached) {
    roster.connectionBegan(now);
    roster.attached(7, "a", true);
    roster.attached(8, "b", true);
    roster.connectionEnded(now);
    roster.connectionBegan(now + 500ms);
    roster.tick(now + 1200ms);
    roster.attached(1, "b", true);
    roster.tick(now + 1600ms);
    EXPECT_EQ(told, (Told{"arrived a", "arrived b", "path b", "departed a"}));
    EXPECT_FALSE(roster.due());
}

TEST_F(RosterTest, WithoutAMultiplexerTheirConnectionsWitness) {
    roster.connectionBegan(now);
    roster.attached(1, "a", true);
    roster.connectionEnded(now);
    alive = true;
    roster.tick(now + 5s);
    EXPECT_EQ(told, (Told{"arrived a"}));
    alive = false;
    roster.tick(now + 6s);
    EXPECT_EQ(told, (Told{"arrived a", "departed a"}));
}

TEST(PropertyListTest, RoundTrip) {
    const PropertyDictionary values{
        {"text", "h\xC3\xA9llo <&>"},
        {"number", std::int64_t{-5}},
        {"truth", true},
        {"data", PropertyData{0, 1, 255}},
        {"list", PropertyArray{1, "two", PropertyDictionary{{"three", 3.5}}}},
        {"date", PropertyDate{std::chrono::seconds{1'500'000'000}}}};
    const auto back = parseDictionary(writePropertyList(values));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, values);
}

TEST(PropertyListTest, DeepNestingIsRefused) {
    const auto nested = [](std::size_t depth) {
        std::string text = "<plist version=\"1.0\">";
        for (std::size_t i = 0; i < depth; ++i) {
            text += "<array>";
        }
        for (std::size_t i = 0; i < depth; ++i) {
            text += "</array>";
        }
        return text + "</plist>";
    };
    EXPECT_TRUE(parsePropertyList(wire::asBytes(nested(kMaxPropertyListDepth))));
    EXPECT_FALSE(parsePropertyList(wire::asBytes(nested(kMaxPropertyListDepth + 1))));
    EXPECT_FALSE(parsePropertyList(wire::asBytes(nested(2'000'000))));
    std::string hidden = nested(kMaxPropertyListDepth + 1);
    hidden.insert(hidden.find("<array>") + 7, "<!-- </array> -->");
    EXPECT_FALSE(parsePropertyList(wire::asBytes(hidden))) << "a comment closes nothing";
}

TEST(PropertyListTest, BinaryChainsAndSharedChildrenAreRefused) {
    // Arrays of one byte each that hold the next one, or the next one twice.
    const auto chain = [](unsigned length, bool twice) {
        std::string bytes = "bplist00";
        std::string table;
        for (unsigned i = 0; i < length; ++i) {
            table += static_cast<char>(bytes.size() >> 8U);
            table += static_cast<char>(bytes.size());
            const bool last = i + 1 == length;
            bytes += static_cast<char>(last ? 0xA0 : twice ? 0xA2 : 0xA1);
            for (int n = 0; !last && n < (twice ? 2 : 1); ++n) {
                bytes += static_cast<char>((i + 1) >> 8U);
                bytes += static_cast<char>(i + 1);
            }
        }
        const std::size_t at = bytes.size();
        bytes += table + std::string(6, '\0') + '\2' + '\2';
        const auto word = [&](std::uint64_t value) {
            for (int shift = 56; shift >= 0; shift -= 8) {
                bytes += static_cast<char>(value >> static_cast<unsigned>(shift));
            }
        };
        word(length);
        word(0);
        word(at);
        return bytes;
    };
    EXPECT_TRUE(parsePropertyList(wire::asBytes(chain(20, false))));
    EXPECT_FALSE(parsePropertyList(wire::asBytes(chain(5000, false))));
    EXPECT_FALSE(parsePropertyList(wire::asBytes(chain(50, true)))) << "two to the fiftieth values";
}

}  // namespace

}  // namespace quillbox::device
