// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"

#include <gtest/gtest.h>

namespace quillbox {
namespace {

TEST(PathTextTest, ComponentsAreJoinedWithOneSlash) {
    EXPECT_EQ(stringByAppendingPathComponent("/", "a"), "/a");
    EXPECT_EQ(stringByAppendingPathComponent("/", "/a/b"), "/a/b");
    EXPECT_EQ(stringByAppendingPathComponent("/Documents", "/"), "/Documents");
    EXPECT_EQ(stringByAppendingPathComponent("/Documents", "/a/b.txt"), "/Documents/a/b.txt");
    EXPECT_EQ(stringByAppendingPathComponent("/a/", "b/"), "/a/b");
    EXPECT_EQ(stringByAppendingPathComponent("/a//b", "c"), "/a/b/c");
    EXPECT_EQ(stringByAppendingPathComponent("", "a"), "a");
    EXPECT_EQ(stringByAppendingPathComponent("/a", ""), "/a");
    EXPECT_EQ(stringByAppendingPathComponent("/", "/"), "/");
    EXPECT_EQ(stringByAppendingPathComponent("/a", ".."), "/a/..");
}

TEST(PathTextTest, TheLastComponentIsCutOffAndFound) {
    EXPECT_EQ(lastPathComponent("/a/b"), "b");
    EXPECT_EQ(lastPathComponent("/a/b/"), "b");
    EXPECT_EQ(lastPathComponent("b"), "b");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
    EXPECT_EQ(stringByDeletingLastPathComponent("/a/b"), "/a");
    EXPECT_EQ(stringByDeletingLastPathComponent("/a/b/"), "/a");
    EXPECT_EQ(stringByDeletingLastPathComponent("/a"), "/");
    EXPECT_EQ(stringByDeletingLastPathComponent("a"), "");
    EXPECT_EQ(stringByDeletingLastPathComponent("/"), "/");
}

TEST(PathTextTest, ExtensionsFollowTheLastDotOfTheLastComponent) {
    EXPECT_EQ(pathExtension("/a/b.txt"), "txt");
    EXPECT_EQ(pathExtension("/a/b.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("/a.d/b"), "");
    EXPECT_EQ(pathExtension("/a/.hidden"), "");
    EXPECT_EQ(pathExtension("/a/b."), "");
    EXPECT_EQ(stringByDeletingPathExtension("/a/b.tar.gz"), "/a/b.tar");
    EXPECT_EQ(stringByDeletingPathExtension("/a.d/b"), "/a.d/b");
    EXPECT_EQ(stringByDeletingPathExtension("/a/.hidden"), "/a/.hidden");
}

}  // namespace
}  // namespace quillbox
