// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Text.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

TEST(TextTest, PlainTextHasCharactersOfEveryLength) {
    for (const char* text : {"A", "é", "日", "🎧", "\u00a0", "\u0800", "\U00010000", "\U0010fffd"})
        EXPECT_TRUE(isPlainText(text)) << text;
}

TEST(TextTest, PlainTextHasOnlyBytesThatAreCharacters) {
    for (const char* text :
         {"\x80", "\xbf", "\xc3", "\xc3(", "\xe6\x97", "\xf0\x9f\x8e", "\xc0\x80", "\xc1\xbf", "\xe0\x80\x80",
          "\xf0\x80\x80\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "\xff", "\xfe"})
        EXPECT_FALSE(isPlainText(text)) << testing::PrintToString(text);
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
