// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/MissedCycles.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

class MissedCyclesTests : public testing::Test {
protected:
    std::atomic<std::uint64_t> total{0};
    MissedCycles cycles{total};
};

TEST_F(MissedCyclesTests, AreNoneWhereEachCycleFollowsTheOneBefore) {
    for (std::uint64_t position = 5000; position < 9000; position += 256)
        cycles.cycle(position, 256);
    EXPECT_EQ(total, 0U);
}

TEST_F(MissedCyclesTests, AreCountedByTheClockOfTheGraph) {
    cycles.cycle(0, 256);
    cycles.cycle(4 * 256, 256);
    EXPECT_EQ(total, 3U);
    cycles.cycle(5 * 256, 1024); // a change of the quantum is no gap
    cycles.cycle(5 * 256 + 1024, 1024);
    EXPECT_EQ(total, 3U);
}

TEST_F(MissedCyclesTests, AreNotCountedAfterAPause) {
    cycles.cycle(0, 256);
    cycles.restart();
    cycles.cycle(100'000, 256);
    EXPECT_EQ(total, 0U);
}

TEST_F(MissedCyclesTests, AreNotCountedWhereTheClockIsAnother) {
    cycles.cycle(1'000'000'000, 256);
    cycles.cycle(0, 256);
    cycles.cycle(2'000'000'000, 256);
    EXPECT_EQ(total, 0U);
}

} // namespace
} // namespace vello
