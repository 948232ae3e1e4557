// SPDX-License-Identifier: GPL-3.0-or-later
#include "AfcSpoiler.h"
#include "Wire/AfcLists.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quillbox::simulator {
namespace {

using wire::AfcOperation;
using wire::WireError;

AfcAnswer success() {
    return AfcAnswer::status(wire::AfcStatus::Success);
}

wire::Bytes dataOf(Malformed variant) {
    const wire::Bytes packet = spoil(1, success(), variant);
    const auto header = wire::decodeAfcHeader(packet);
    EXPECT_TRUE(header);
    const wire::ByteView data = wire::ByteView{packet}.subspan(header->thisLength);
    EXPECT_EQ(data.size(), header->dataLength());
    return {data.begin(), data.end()};
}

TEST(AfcSpoiler, HeadersAreWrongInTheWayOrdered) {
    EXPECT_EQ(wire::decodeAfcHeader(spoil(1, success(), Malformed::WrongMagic)).error(),
              WireError::WrongMagic);
    EXPECT_EQ(wire::decodeAfcHeader(spoil(1, success(), Malformed::Short)).error(),
              WireError::LengthTooSmall);
    EXPECT_EQ(wire::decodeAfcHeader(spoil(1, success(), Malformed::Oversized)).error(),
              WireError::LengthTooLarge);
    EXPECT_EQ(wire::decodeAfcHeader(spoil(1, success(), Malformed::OtherNumber))->packetNumber,
              1001U);
    EXPECT_EQ(wire::decodeAfcHeader(spoil(1, success(), Malformed::WrongOperation))->operation,
              AfcOperation::FileOpenResult);
    EXPECT_EQ(wire::decodeAfcHeader(spoil(1, success(), Malformed::DataForStatus))->operation,
              AfcOperation::Data);
    EXPECT_EQ(spoil(1, success(), Malformed::TruncatedClose).size(), 24U);
    const auto inHead =
        wire::decodeAfcHeader(spoil(1, AfcAnswer::bulk(wire::Bytes(300)), Malformed::DataInHead));
    EXPECT_EQ(inHead->parameterLength(), 300U);
    EXPECT_EQ(inHead->dataLength(), 0U);
}

TEST(AfcSpoiler, ListsAreWrongInTheWayOrdered) {
    EXPECT_EQ(wire::splitKeyValues(dataOf(Malformed::OddList)).error(), WireError::OddCount);
    EXPECT_EQ(wire::splitKeyValues(dataOf(Malformed::EndlessList)).error(),
              WireError::TooManyEntries);
    EXPECT_EQ(wire::splitNames(dataOf(Malformed::UnterminatedList)).error(),
              WireError::NotTerminated);
    EXPECT_EQ(wire::splitNames(dataOf(Malformed::Entries100000))->size(), 100'000U);
    for (const auto variant : {Malformed::NamesSlash, Malformed::NamesNul, Malformed::NamesEmpty,
                               Malformed::NamesDotDot}) {
        const auto names = wire::splitNames(dataOf(variant));
        ASSERT_TRUE(names);
        EXPECT_EQ(std::ranges::count(*names, "good"), 1);
    }
}

TEST(AfcSpoiler, EveryVariantHasAName) {
    std::size_t count = 0;
    std::string names = malformedNames() + " ";
    for (std::size_t end = names.find(' '); end != std::string::npos; end = names.find(' ')) {
        EXPECT_TRUE(malformedFromName(names.substr(0, end)));
        names.erase(0, end + 1);
        ++count;
    }
    EXPECT_EQ(count, static_cast<std::size_t>(Malformed::Entries100000) + 1);
    EXPECT_FALSE(malformedFromName("nonsense"));
}

}  // namespace
}  // namespace quillbox::simulator
