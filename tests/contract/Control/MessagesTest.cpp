// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Frames.h"
#include "Linux/Control/Json.h"
#include "Linux/Control/Protocol.h"

#include <gtest/gtest.h>

namespace quillbox::control {

namespace {

using Texts = std::vector<std::string>;
using namespace std::string_literals;

TEST(FramesTest, WhatIsSentArrivesInAnyPieces) {
    const Texts texts{"list", "", "with\0nul"s, "Größe"};
    const std::string frame = encodeFrame(texts);
    for (std::size_t piece = 1; piece <= frame.size(); ++piece) {
        FrameReader reader(100, 10);
        for (std::size_t i = 0; i < frame.size(); i += piece) {
            EXPECT_FALSE(reader.texts());
            ASSERT_TRUE(reader.add(std::string_view(frame).substr(i, piece)));
        }
        EXPECT_EQ(reader.texts(), texts);
    }
}

TEST(FramesTest, ALengthBeyondTheBoundIsRefusedAtOnce) {
    FrameReader reader(1000, 10);
    EXPECT_FALSE(reader.add("\xFF\xFF\xFF\xFF"));
    FrameReader exact(5, 10);
    EXPECT_TRUE(exact.add(encodeFrame({"x"})));
    EXPECT_EQ(exact.texts(), Texts{"x"});
    FrameReader small(4, 10);
    EXPECT_FALSE(small.add(encodeFrame({"x"})));
}

TEST(FramesTest, ContradictionsAreRefused) {
    EXPECT_FALSE(FrameReader(100, 10).add("\0\0\0\x05\0\0\0\x02x"s));       // a text too long
    EXPECT_FALSE(FrameReader(100, 10).add("\0\0\0\x03\0\0\0"s));            // half a number
    EXPECT_FALSE(FrameReader(100, 10).add("\0\0\0\x04\xFF\xFF\xFF\xFF"s));  // a huge text
    EXPECT_FALSE(FrameReader(100, 10).add(encodeFrame({"x"}) + "more"));    // a second message
    EXPECT_FALSE(FrameReader(100, 2).add(encodeFrame({"1", "2", "3"})));    // too many
    FrameReader done(100, 10);
    ASSERT_TRUE(done.add(encodeFrame({"x"})));
    EXPECT_FALSE(done.add("y"));
    EXPECT_TRUE(FrameReader(100, 10).add("\0\0"s));
    FrameReader empty(100, 10);
    ASSERT_TRUE(empty.add("\0\0\0\0"s));
    EXPECT_EQ(empty.texts(), Texts{});
}

TEST(ProtocolTest, RequestsAndAnswersComeBackAsTheyWere) {
    const auto request = requestFrom(toTexts(Request{"root", true, {"Blue Phone", "Media"}}));
    ASSERT_TRUE(request);
    EXPECT_EQ(request->verb, "root");
    EXPECT_TRUE(request->json);
    EXPECT_EQ(request->arguments, (Texts{"Blue Phone", "Media"}));
    const auto answer = answerFrom(toTexts(Answer{1, "some", "why"}));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 1);
    EXPECT_EQ(answer->output, "some");
    EXPECT_EQ(answer->error, "why");
}

TEST(ProtocolTest, WhatIsNeitherIsRefused) {
    EXPECT_FALSE(requestFrom({}));
    EXPECT_FALSE(requestFrom({"quillbox 1", "json"}));
    EXPECT_FALSE(requestFrom({"quillbox 2", "json", "list"}));
    EXPECT_FALSE(requestFrom({"quillbox 1", "xml", "list"}));
    EXPECT_FALSE(answerFrom({"0", ""}));
    EXPECT_FALSE(answerFrom({"4", "", ""}));
    EXPECT_FALSE(answerFrom({"-1", "", ""}));
    EXPECT_FALSE(answerFrom({"", "", ""}));
}

TEST(JsonTest, NestsAndSeparates) {
    JsonWriter json;
    json.beginArray();
    json.beginObject();
    json.member("name", "x");
    json.member("on", true);
    json.member("count", std::int64_t{-3});
    json.member("none", std::optional<std::string>());
    json.key("list");
    json.beginArray();
    json.endArray();
    json.endObject();
    json.value("last");
    json.endArray();
    EXPECT_EQ(json.text(), "[\n  {\n    \"name\": \"x\",\n    \"on\": true,\n    \"count\": -3,\n"
                           "    \"none\": null,\n    \"list\": []\n  },\n  \"last\"\n]\n");
}

TEST(JsonTest, WhatADeviceSendsIsEscaped) {
    JsonWriter json;
    json.value("a\"\\\n\r\t\x01\x7F/é"s + "\xFF" + "\0z"s);
    EXPECT_EQ(json.text(), "\"a\\\"\\\\\\n\\r\\t\\u0001\\u007f/é\xEF\xBF\xBD\\u0000z\"\n");
}

TEST(TextTest, OnlyWellFormedSequencesSurvive) {
    for (const std::string good :
         {"", "plain", "é", "中", "😀", "\xED\x9F\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(validUtf8(good), good);
    }
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(validUtf8("\xC3"), mark);
    EXPECT_EQ(validUtf8("\xC0\x80"), mark + mark);
    EXPECT_EQ(validUtf8("\xE0\x80\x80"), mark + mark + mark);
    EXPECT_EQ(validUtf8("\xED\xA0\x80"), mark + mark + mark);
    EXPECT_EQ(validUtf8("\xF5x"), mark + "x");
    EXPECT_EQ(validUtf8("\xE4\xB8"
                        "a"),
              mark + mark + "a");
}

TEST(TextTest, ATerminalGetsNoControlCharacters) {
    EXPECT_EQ(printable("a\x1B[31mb\nc\x7F"), "a?[31mb?c?");
    EXPECT_EQ(printable("\xC2\x9B"
                        "31m \xC2\xA0"),
              "?31m \xC2\xA0");
    EXPECT_EQ(printable("Grün"), "Grün");
}

}  // namespace

}  // namespace quillbox::control
