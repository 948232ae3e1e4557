// SPDX-License-Identifier: GPL-3.0-or-later
#include "Pictures.h"

#include <gtest/gtest.h>

namespace quillbox::simulator {
namespace {

unsigned bigAt(const wire::Bytes& file, std::size_t offset, std::size_t length) {
    unsigned value = 0;
    for (std::size_t i = 0; i < length; ++i) {
        value = (value << 8U) | std::to_integer<unsigned>(file[offset + i]);
    }
    return value;
}

TEST(Pictures, PngHasItsSignatureSizeAndEnd) {
    const wire::Bytes file = encodePng(landscape(1, 300, 200));
    EXPECT_EQ(wire::asText(file).substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(bigAt(file, 16, 4), 300U);
    EXPECT_EQ(bigAt(file, 20, 4), 200U);
    EXPECT_EQ(wire::asText(file).substr(file.size() - 8), "IEND\xAE\x42\x60\x82")
        << "the checksum of the empty end is a well-known one";
}

TEST(Pictures, JpegHasItsMarkersAndSize) {
    const wire::Bytes file = encodeJpeg(landscape(1, 161, 121));
    EXPECT_EQ(bigAt(file, 0, 2), 0xFFD8U);
    EXPECT_EQ(bigAt(file, file.size() - 2, 2), 0xFFD9U);
    const std::size_t frame = wire::asText(file).find("\xFF\xC0");
    ASSERT_NE(frame, std::string_view::npos);
    EXPECT_EQ(bigAt(file, frame + 5, 2), 121U);
    EXPECT_EQ(bigAt(file, frame + 7, 2), 161U);
}

TEST(Pictures, DifferByNumberAndIdentifier) {
    EXPECT_NE(landscape(1, 16, 16).pixels, landscape(2, 16, 16).pixels);
    EXPECT_NE(applicationPicture("a", 16).pixels, applicationPicture("b", 16).pixels);
}

}  // namespace
}  // namespace quillbox::simulator
