// SPDX-License-Identifier: Apache-2.0
#include "Foundation/LocalizedOrder.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

TEST(LocalizedOrder, ComparesNumbersByTheirValue) {
    const LocalizedOrder order("en_US");
    EXPECT_TRUE(order.isBefore("Output 2", "Output 10"));
    EXPECT_FALSE(order.isBefore("Output 10", "Output 2"));
}

TEST(LocalizedOrder, TakesNoNoticeOfCase) {
    const LocalizedOrder order("en_US");
    EXPECT_TRUE(order.isBefore("alpha", "BETA"));
    EXPECT_FALSE(order.isBefore("Alpha", "alpha"));
    EXPECT_FALSE(order.isBefore("alpha", "Alpha"));
}

TEST(LocalizedOrder, FollowsTheLanguage) {
    EXPECT_TRUE(LocalizedOrder("de_DE").isBefore("ärger", "zebra"));
    EXPECT_FALSE(LocalizedOrder("sv_SE").isBefore("ärger", "zebra"));
}

TEST(LocalizedOrder, KnowsNumbersAndCaseAlsoWhereNoLanguageIsSet) {
    // Uses the current locale, which is "C" on a build machine.
    const LocalizedOrder order;
    EXPECT_TRUE(order.isBefore("output 2", "Output 10"));
    EXPECT_TRUE(order.isBefore("alpha", "BETA"));
}

TEST(LocalizedOrder, OrdersWhatIsNoTextWithoutFailing) {
    const LocalizedOrder order;
    EXPECT_TRUE(order.isBefore("", "a"));
    EXPECT_FALSE(order.isBefore("\xff\xfe", "\xff\xfe"));
    EXPECT_FALSE(order.isBefore(std::string(100000, 'b'), std::string(100000, 'a')));
}

} // namespace
} // namespace vello
