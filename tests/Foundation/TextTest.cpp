// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Text.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

TEST(TextTest, DecodesCharactersOfEveryLength) {
    for (const auto& [text, character] : {std::pair{"A", U'A'},
                                          {"é", U'é'},
                                          {"日", U'日'},
                                          {"🎧", U'🎧'},
                                          {"\u0080", U'\u0080'},
                                          {"\u0800", U'\u0800'},
                                          {"\U00010000", U'\U00010000'},
                                          {"\U0010ffff", U'\U0010ffff'}}) {
        const auto decoded = decodeCharacter(std::string(text) + "x");
        ASSERT_TRUE(decoded) << text;
        EXPECT_EQ(decoded->character, character);
        EXPECT_EQ(decoded->byteCount, std::string(text).size());
    }
    EXPECT_EQ(decodeCharacter(std::string_view("\0", 1))->character, U'\0');
}

TEST(TextTest, RefusesBytesThatAreNoCharacter) {
    for (const char* text : {"", "\x80", "\xbf", "\xc3", "\xc3(", "\xe6\x97", "\xf0\x9f\x8e", "\xc0\x80",
                             "\xc1\xbf", "\xe0\x80\x80", "\xf0\x80\x80\x80", "\xed\xa0\x80",
                             "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "\xff", "\xfe"})
        EXPECT_FALSE(decodeCharacter(text)) << testing::PrintToString(text);
}

TEST(TextTest, PlainTextHasNoControlCharacters) {
    EXPECT_TRUE(isPlainText(""));
    EXPECT_TRUE(isPlainText("org.example.Player 日本 🎧 ~"));
    for (const char* text : {"a\n", "\x1b[2J", "\x7f", "\u0085", "\u061c", "\u200e", "\u2028", "\u202e",
                             "\u2069", "\ufeff", "a\xff", "\xc3"})
        EXPECT_FALSE(isPlainText(text)) << testing::PrintToString(text);
}

TEST(TextTest, EscapesAndCutsForOneLine) {
    EXPECT_EQ(escapedForOneLine("plain \\ text", 100), "plain \\ text");
    EXPECT_EQ(escapedForOneLine("\r\n\t\x01", 100), "\\x0d\\n\\t\\x01");
    EXPECT_EQ(escapedForOneLine("\u2066日\xe6\x97", 100), "\\u{2066}日\\xe6\\x97");
    EXPECT_EQ(escapedForOneLine("12345", 5), "12345");
    EXPECT_EQ(escapedForOneLine("123456", 5), "12345...");
    EXPECT_EQ(escapedForOneLine("日本日", 4), "日本...");
}

} // namespace
} // namespace vello
