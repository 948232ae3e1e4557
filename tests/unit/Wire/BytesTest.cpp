// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/Bytes.h"

#include <gtest/gtest.h>

namespace quillbox::wire {
namespace {

TEST(Bytes, LittleEndianBeginsWithTheLowestByte) {
    Bytes bytes;
    appendLittle<std::uint32_t>(bytes, 0x11223344U);
    EXPECT_EQ(asText(bytes), std::string_view("\x44\x33\x22\x11", 4));
    EXPECT_EQ(loadLittle<std::uint32_t>(bytes), 0x11223344U);
}

TEST(Bytes, BigEndianBeginsWithTheHighestByte) {
    Bytes bytes(4);
    storeBig<std::uint32_t>(bytes, 0x11223344U);
    EXPECT_EQ(asText(bytes), std::string_view("\x11\x22\x33\x44", 4));
    EXPECT_EQ(loadBig<std::uint32_t>(bytes), 0x11223344U);
}

TEST(Bytes, SixtyFourBitNumbersKeepTheirHighestBit) {
    Bytes bytes;
    appendLittle<std::uint64_t>(bytes, 0x8000000000000001U);
    EXPECT_EQ(loadLittle<std::uint64_t>(bytes), 0x8000000000000001U);
    EXPECT_EQ(loadBig<std::uint64_t>(bytes), 0x0100000000000080U);
}

TEST(Bytes, TextKeepsNulBytes) {
    const std::string_view text("a\0b", 3);
    EXPECT_EQ(asText(asBytes(text)), text);
}

}  // namespace
}  // namespace quillbox::wire
