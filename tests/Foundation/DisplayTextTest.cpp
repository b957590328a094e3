// SPDX-License-Identifier: Apache-2.0
#include "Foundation/DisplayText.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

TEST(DisplayText, TrimmingTakesEveryKindOfUnicodeWhiteSpaceFromBothEnds) {
    for (const char* space : {" ", "\t", "\n", "\v", "\f", "\r", "\u0085", "\u00a0", "\u1680", "\u2000",
                              "\u200a", "\u2028", "\u2029", "\u202f", "\u205f", "\u3000"}) {
        const std::string text(space);
        EXPECT_EQ(trimmedWhiteSpace(text + text + "a" + text + "b" + text), "a" + text + "b");
        EXPECT_EQ(trimmedWhiteSpace(text), "");
    }
    EXPECT_EQ(trimmedWhiteSpace(""), "");
    EXPECT_EQ(trimmedWhiteSpace("a"), "a");
}

TEST(DisplayText, TrimmingLeavesWhatOnlyLooksLikeNothing) {
    for (const char* text : {"\u200b", "\ufeff", "\u2060", "\u00ad", "\u180e", "\x1c"})
        EXPECT_EQ(trimmedWhiteSpace(text), text);
    EXPECT_EQ(trimmedWhiteSpace(std::string_view("\0", 1)), std::string_view("\0", 1));
}

TEST(DisplayText, TrimmingLeavesBytesThatAreNoTextAndGoesNoFurther) {
    for (const char* text : {"\xff", "\xa0", "\x85", "\xc2", "\xe2\x80", "\xe2 \x80\xa8", "\xc2\x20\xa0",
                             "\x80\x80\x80\x80\x80\x80\x80", "\xf0\x9f\x8e", "\xc0\xa0", "\xe0\x80\xa0"})
        EXPECT_EQ(trimmedWhiteSpace(std::string(" ") + text + " "), text);
}

TEST(DisplayText, TrimmingLeavesWideCharactersWhole) {
    EXPECT_EQ(trimmedWhiteSpace("\u3000\U0001f3b5 \u4e2d\u3000"), "\U0001f3b5 \u4e2d");
}

} // namespace
} // namespace vello
