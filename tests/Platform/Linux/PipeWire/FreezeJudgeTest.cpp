// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/FreezeJudge.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

using namespace std::chrono_literals;

/// A judge on a virtual clock, and the two heartbeats that it checks.
class FreezeJudgeTest : public testing::Test {
protected:
    /// Makes one check after that time. Returns true when the judge considers the process frozen.
    bool lookAfter(std::chrono::milliseconds pause) {
        now_ += pause;
        return judge_.isFrozen(now_, beats_);
    }
    /// Number of checks at intervals of `period` until the process is considered frozen; 0 when that does not
    /// happen within 100 checks.
    int looksUntilFrozen(std::chrono::milliseconds period = FreezeJudge::period) {
        for (int look = 1; look <= 100; ++look) {
            beat();
            if (lookAfter(period))
                return look;
        }
        return 0;
    }

    FreezeJudge judge_;
    Heartbeats beats_{7, 9};
    bool doesMainBeat_ = true;
    bool doesDataBeat_ = true;

private:
    void beat() {
        beats_.main += doesMainBeat_ ? 1 : 0;
        beats_.data += doesDataBeat_ ? 1 : 0;
    }

    FreezeJudge::Instant now_{1h};
};

TEST_F(FreezeJudgeTest, LeavesAProcessAloneThatBeats) {
    EXPECT_EQ(looksUntilFrozen(), 0);
}

TEST_F(FreezeJudgeTest, FindsAFrozenProcessAfterTwoSeconds) {
    doesMainBeat_ = doesDataBeat_ = false;
    EXPECT_EQ(looksUntilFrozen(), 1 + 4);
    EXPECT_EQ(4 * FreezeJudge::period, 2s);
}

TEST_F(FreezeJudgeTest, FindsOneThreadThatStandsStill) {
    doesDataBeat_ = false;
    EXPECT_EQ(looksUntilFrozen(), 5);
    judge_.reset();
    doesMainBeat_ = false;
    doesDataBeat_ = true;
    EXPECT_EQ(looksUntilFrozen(), 5);
}

TEST_F(FreezeJudgeTest, BeginsAnewWhenAThreadBeatsAgain) {
    for (int i = 0; i < 10; ++i) {
        for (int look = 0; look < 4; ++look)
            ASSERT_FALSE(lookAfter(FreezeJudge::period));
        ++beats_.main;
        ++beats_.data;
    }
}

TEST_F(FreezeJudgeTest, DoesNotTakeTwoHalvesForAWhole) {
    // The two never beat in the same stretch, but neither pauses for long.
    for (int i = 0; i < 20; ++i) {
        ++(i % 2 == 0 ? beats_.main : beats_.data);
        ASSERT_FALSE(lookAfter(FreezeJudge::period));
    }
}

TEST_F(FreezeJudgeTest, DoesNotCountTheTimeInWhichItDidNotLook) {
    doesMainBeat_ = doesDataBeat_ = false;
    for (int i = 0; i < 3; ++i)
        ASSERT_FALSE(lookAfter(FreezeJudge::period));
    // The machine was suspended or stalled.
    EXPECT_FALSE(lookAfter(10h));
    EXPECT_EQ(looksUntilFrozen(), 4);
}

TEST_F(FreezeJudgeTest, NeverJudgesWhenItGetsNoTimeToLook) {
    doesMainBeat_ = doesDataBeat_ = false;
    EXPECT_EQ(looksUntilFrozen(FreezeJudge::longestGap + 1ms), 0);
}

TEST_F(FreezeJudgeTest, DoesNotCountLooksThatComeTooEarly) {
    doesMainBeat_ = doesDataBeat_ = false;
    EXPECT_EQ(looksUntilFrozen(FreezeJudge::period / 10), 1 + 4 * 10);
}

TEST_F(FreezeJudgeTest, LeavesTimeForSeveralBeatsBetweenTwoLooks) {
    EXPECT_LE(2 * FreezeJudge::beatPeriod, FreezeJudge::period);
}

} // namespace
} // namespace vello
