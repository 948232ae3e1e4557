// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcLists.h"

#include <gtest/gtest.h>

namespace quillbox::wire {
namespace {

using Names = std::vector<std::string>;

ByteView literal(const char* text, std::size_t size) {
    return asBytes({text, size});
}

TEST(AfcLists, NamesAreSplitAtNuls) {
    const auto names = splitNames(literal(".\0..\0a b\0", 9));
    ASSERT_TRUE(names);
    EXPECT_EQ(*names, (Names{".", "..", "a b"}));
}

TEST(AfcLists, EmptyAnswerIsAnEmptyList) {
    EXPECT_TRUE(splitNames({})->empty());
    EXPECT_TRUE(splitKeyValues({})->empty());
}

TEST(AfcLists, EmptyNamesAreKeptForTheCallerToJudge) {
    EXPECT_EQ(*splitNames(literal("a\0\0b\0", 5)), (Names{"a", "", "b"}));
}

TEST(AfcLists, AListWithoutItsLastNulIsRefused) {
    EXPECT_EQ(splitNames(asBytes("abc")).error(), WireError::NotTerminated);
    EXPECT_EQ(splitNames(literal("a\0b", 3)).error(), WireError::NotTerminated);
    EXPECT_EQ(splitKeyValues(asBytes("abc")).error(), WireError::NotTerminated);
    EXPECT_EQ(splitKeyValues(literal("a\0b", 3)).error(), WireError::NotTerminated);
}

TEST(AfcLists, AKeyWithoutAValueIsRefused) {
    EXPECT_EQ(splitKeyValues(literal("k\0v\0k2\0", 7)).error(), WireError::OddCount);
}

TEST(AfcLists, PairsKeepTheirOrder) {
    const auto pairs = splitKeyValues(literal("b\0001\0a\000\000b\0002\000", 11));
    ASSERT_TRUE(pairs);
    EXPECT_EQ(*pairs, (std::vector<KeyValue>{{"b", "1"}, {"a", ""}, {"b", "2"}}));
}

TEST(AfcLists, CapsAreInclusive) {
    EXPECT_TRUE(splitNames(literal("a\0b\0", 4), 2));
    EXPECT_EQ(splitNames(literal("a\0b\0c\0", 6), 2).error(), WireError::TooManyEntries);
    EXPECT_TRUE(splitKeyValues(literal("a\0b\0", 4), 1));
    EXPECT_EQ(splitKeyValues(literal("a\0b\0c\0d\0", 8), 1).error(), WireError::TooManyEntries);
}

TEST(AfcLists, JoiningIsTheReverse) {
    const Names names{"x", "", "y z"};
    EXPECT_EQ(*splitNames(joinNames(names)), names);
    const std::vector<KeyValue> pairs{{"st_size", "12"}, {"LinkTarget", ""}};
    EXPECT_EQ(*splitKeyValues(joinKeyValues(pairs)), pairs);
}

TEST(AfcLists, UsableNamesAreThoseOfALocalDirectory) {
    EXPECT_TRUE(isUsableEntryName("a"));
    EXPECT_TRUE(isUsableEntryName("..."));
    EXPECT_TRUE(isUsableEntryName(" back\\slash\n"));
    EXPECT_FALSE(isUsableEntryName(""));
    EXPECT_FALSE(isUsableEntryName("."));
    EXPECT_FALSE(isUsableEntryName(".."));
    EXPECT_FALSE(isUsableEntryName("a/b"));
    EXPECT_FALSE(isUsableEntryName(std::string_view("a\0b", 3)));
}

}  // namespace
}  // namespace quillbox::wire
