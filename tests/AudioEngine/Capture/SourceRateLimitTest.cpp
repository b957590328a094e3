// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/SourceRateLimit.h"

#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

struct RateLimit : testing::Test {
    VirtualMainThread mainThread;
    std::vector<std::string> runs;
    SourceRateLimit limit{mainThread, 1s, [this](const std::string& id) { runs.push_back(id); }};
};

TEST_F(RateLimit, TheFirstRequestRunsAtOnce) {
    limit.request("a");
    limit.request("b");
    EXPECT_THAT(runs, ElementsAre("a", "b"));
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

TEST_F(RateLimit, RequestsWithinThePeriodRunOnceAtItsEnd) {
    limit.request("a");
    mainThread.advance(100ms);
    for (int i = 0; i < 5; ++i)
        limit.request("a");
    mainThread.advance(900ms - 1ns);
    EXPECT_THAT(runs, ElementsAre("a"));
    mainThread.advance(1ns);
    EXPECT_THAT(runs, ElementsAre("a", "a"));
    limit.request("a"); // the second run started a new period
    EXPECT_THAT(runs, ElementsAre("a", "a"));
    mainThread.advance(10s);
    EXPECT_THAT(runs, ElementsAre("a", "a", "a"));
}

TEST_F(RateLimit, ALaterRequestRunsAtOnceAgain) {
    limit.request("a");
    mainThread.advance(1s);
    limit.request("a");
    EXPECT_THAT(runs, ElementsAre("a", "a"));
}

TEST_F(RateLimit, WhatIsClearedDoesNotHappen) {
    limit.request("a");
    limit.request("a");
    limit.clear();
    mainThread.advance(10s);
    EXPECT_THAT(runs, ElementsAre("a"));
}

} // namespace
} // namespace vello
