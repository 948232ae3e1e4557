// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/MuxHeader.h"
#include "Wire/PropertyListFrame.h"

#include <gtest/gtest.h>

namespace quillbox::wire {
namespace {

Bytes muxBytes(std::uint32_t length, std::uint32_t version) {
    Bytes bytes;
    appendLittle(bytes, length);
    appendLittle(bytes, version);
    appendLittle<std::uint32_t>(bytes, 8);
    appendLittle<std::uint32_t>(bytes, 77);
    return bytes;
}

TEST(MuxHeader, TravelsAsFourLittleEndianWords) {
    const auto bytes = encodeMuxHeader(makeMuxHeader(0x100, 0x01020304));
    EXPECT_EQ(asText(bytes),
              std::string_view("\x10\x01\0\0\x01\0\0\0\x08\0\0\0\x04\x03\x02\x01", 16));
}

TEST(MuxHeader, ComesBackAsItWas) {
    const auto decoded = decodeMuxHeader(encodeMuxHeader(makeMuxHeader(500, 9)));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->payloadLength(), 500U);
    EXPECT_EQ(decoded->type, kMuxTypePropertyList);
    EXPECT_EQ(decoded->tag, 9U);
}

TEST(MuxHeader, RefusesWhatCannotBeRight) {
    EXPECT_EQ(decodeMuxHeader(ByteView(muxBytes(16, 1)).first(15)).error(), WireError::TooShort);
    EXPECT_EQ(decodeMuxHeader(muxBytes(15, 1)).error(), WireError::LengthTooSmall);
    EXPECT_EQ(decodeMuxHeader(muxBytes(0, 1)).error(), WireError::LengthTooSmall);
    EXPECT_EQ(decodeMuxHeader(muxBytes(kMuxMaxLength + 1, 1)).error(), WireError::LengthTooLarge);
    EXPECT_EQ(decodeMuxHeader(muxBytes(0xFFFFFFFFU, 1)).error(), WireError::LengthTooLarge);
    EXPECT_EQ(decodeMuxHeader(muxBytes(16, 0)).error(), WireError::WrongVersion);
    EXPECT_TRUE(decodeMuxHeader(muxBytes(kMuxMaxLength, 1)));
}

TEST(PropertyListFrame, HasABigEndianLengthInFront) {
    EXPECT_EQ(asText(encodeFrame(asBytes("abc"))), std::string_view("\0\0\0\x03"
                                                                    "abc",
                                                                    7));
}

TEST(PropertyListFrame, LengthIsJudged) {
    const auto length = decodeFrameLength(asBytes(std::string_view("\0\0\x01\0", 4)));
    ASSERT_TRUE(length);
    EXPECT_EQ(*length, 256U);
    EXPECT_EQ(decodeFrameLength(asBytes("abc")).error(), WireError::TooShort);
    EXPECT_EQ(decodeFrameLength(asBytes(std::string_view("\0\0\0\0", 4))).error(),
              WireError::LengthTooSmall);
    EXPECT_EQ(decodeFrameLength(asBytes("\xff\xff\xff\xff")).error(), WireError::LengthTooLarge);
    EXPECT_EQ(decodeFrameLength(asBytes(std::string_view("\0\0\0\x09", 4)), 8).error(),
              WireError::LengthTooLarge);
}

}  // namespace
}  // namespace quillbox::wire
