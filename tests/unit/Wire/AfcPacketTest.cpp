// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcPacket.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillbox::wire {
namespace {

Decoded<AfcHeader> decodeLengths(std::uint64_t entire, std::uint64_t thisLength,
                                 const AfcLimits& limits = {}) {
    AfcHeader header;
    header.entireLength = entire;
    header.thisLength = thisLength;
    return decodeAfcHeader(encodeAfcHeader(header), limits);
}

TEST(AfcPacket, HeaderTravelsAsSignatureAndFourWords) {
    AfcHeader header;
    header.entireLength = 0x50;
    header.thisLength = 0x30;
    header.packetNumber = 3;
    header.operation = AfcOperation::FileWrite;
    EXPECT_EQ(asText(encodeAfcHeader(header)), std::string_view("CFA6LPAA"
                                                                "\x50\0\0\0\0\0\0\0"
                                                                "\x30\0\0\0\0\0\0\0"
                                                                "\x03\0\0\0\0\0\0\0"
                                                                "\x10\0\0\0\0\0\0\0",
                                                                40));
}

TEST(AfcPacket, PacketHoldsParametersThenData) {
    const Bytes packet =
        makeAfcPacket(7, AfcOperation::FileWrite, asBytes("12345678"), asBytes("payload"));
    const auto header = decodeAfcHeader(packet);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->parameterLength(), 8U);
    EXPECT_EQ(header->dataLength(), 7U);
    EXPECT_EQ(header->packetNumber, 7U);
    EXPECT_EQ(header->operation, AfcOperation::FileWrite);
    EXPECT_EQ(asText(ByteView(packet).subspan(kAfcHeaderSize)), "12345678payload");
}

TEST(AfcPacket, HeadAnnouncesDataThatFollows) {
    const Bytes head = makeAfcHead(1, AfcOperation::Data, {}, 1000);
    ASSERT_EQ(head.size(), kAfcHeaderSize);
    EXPECT_EQ(decodeAfcHeader(head)->dataLength(), 1000U);
}

TEST(AfcPacket, RefusesAnotherSignatureAndTooFewBytes) {
    Bytes packet = makeAfcPacket(1, AfcOperation::Status, {});
    EXPECT_EQ(decodeAfcHeader(ByteView(packet).first(39)).error(), WireError::TooShort);
    EXPECT_EQ(decodeAfcHeader({}).error(), WireError::TooShort);
    packet[7] = std::byte{'B'};
    EXPECT_EQ(decodeAfcHeader(packet).error(), WireError::WrongMagic);
}

TEST(AfcPacket, RefusesLengthsThatCannotBe) {
    constexpr auto kHuge = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(decodeLengths(40, 39).error(), WireError::LengthTooSmall);
    EXPECT_EQ(decodeLengths(0, 0).error(), WireError::LengthTooSmall);
    EXPECT_EQ(decodeLengths(47, 48).error(), WireError::LengthsDisagree);
    EXPECT_EQ(decodeLengths(0, 48).error(), WireError::LengthsDisagree);
    EXPECT_EQ(decodeLengths(kHuge, 40).error(), WireError::LengthTooLarge);
    EXPECT_EQ(decodeLengths(kHuge, kHuge).error(), WireError::LengthTooLarge);
}

TEST(AfcPacket, LimitsAreInclusive) {
    const AfcLimits limits{8, 100};
    EXPECT_TRUE(decodeLengths(148, 48, limits));
    EXPECT_EQ(decodeLengths(149, 48, limits).error(), WireError::LengthTooLarge);
    EXPECT_EQ(decodeLengths(149, 49, limits).error(), WireError::LengthTooLarge);
}

TEST(AfcPacket, UnknownOperationIsKeptForTheCaller) {
    AfcHeader header;
    header.operation = static_cast<AfcOperation>(0xABCDEF);
    const auto decoded = decodeAfcHeader(encodeAfcHeader(header));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->operation, static_cast<AfcOperation>(0xABCDEF));
}

}  // namespace
}  // namespace quillbox::wire
