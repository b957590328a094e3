// SPDX-License-Identifier: Apache-2.0
#include "Control/State/StateWords.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

TEST(StateWordsTest, EveryValueHasItsWord) {
    for (const auto& [state, expected] :
         {std::pair{TapState::none, "none"}, std::pair{TapState::starting, "starting"},
          std::pair{TapState::connecting, "connecting"}, std::pair{TapState::running, "running"}}) {
        EXPECT_EQ(word(state), expected);
        EXPECT_EQ(tapStateOf(expected), state);
    }
    for (const auto& [consent, expected] :
         {std::pair{Consent::undecided, "unknown"}, std::pair{Consent::allowed, "authorized"},
          std::pair{Consent::denied, "denied"}}) {
        EXPECT_EQ(word(consent), expected);
        EXPECT_EQ(consentOf(expected), consent);
    }
}

TEST(StateWordsTest, AWordOfAnotherVersionClaimsNothing) {
    EXPECT_EQ(tapStateOf("held"), TapState::none);
    EXPECT_EQ(tapStateOf(""), TapState::none);
    EXPECT_EQ(consentOf("restricted"), Consent::undecided);
}

} // namespace
} // namespace vello
