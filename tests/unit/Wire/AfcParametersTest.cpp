// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcParameters.h"

#include <gtest/gtest.h>

namespace quillbox::wire {
namespace {

TEST(AfcParameters, WordsAndTextsStandInOrder) {
    AfcParameters parameters;
    parameters.word(2).path("/a").path("/b");
    EXPECT_TRUE(parameters.valid());
    EXPECT_EQ(asText(parameters.bytes()), std::string_view("\x02\0\0\0\0\0\0\0/a\0/b\0", 14));
}

TEST(AfcParameters, ATextWithANulIsNeverSentCut) {
    AfcParameters parameters;
    parameters.path(std::string_view("/a\0b", 4));
    EXPECT_FALSE(parameters.valid());
    EXPECT_TRUE(parameters.bytes().empty());
}

TEST(AfcParameters, ReaderGivesBackWhatWasBuilt) {
    AfcParameters parameters;
    parameters.word(9).path("").path("/\xC3\xA9");
    AfcParameterReader reader{parameters.bytes()};
    EXPECT_EQ(reader.word(), 9U);
    EXPECT_EQ(reader.path(), "");
    EXPECT_EQ(reader.path(), "/\xC3\xA9");
    EXPECT_TRUE(reader.rest().empty());
}

TEST(AfcParameters, ReaderStopsAtMissingBytes) {
    AfcParameterReader tooShort{asBytes("1234567")};
    EXPECT_FALSE(tooShort.word());
    EXPECT_EQ(tooShort.rest().size(), 7U);
    EXPECT_FALSE(tooShort.path()) << "a text without its NUL is no text";
    AfcParameterReader empty{{}};
    EXPECT_FALSE(empty.word());
    EXPECT_FALSE(empty.path());
}

}  // namespace
}  // namespace quillbox::wire
