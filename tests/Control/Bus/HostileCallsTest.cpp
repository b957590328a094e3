// SPDX-License-Identifier: Apache-2.0
#include "ControlFixture.h"

#include "support/HostileCalls.h"

#include <future>

namespace vello {
namespace {

constexpr int kCalls = 10000;

struct HostileCalls : Control {};

TEST_F(HostileCalls, LeaveTheInstanceRunningUnchangedAndAnswering) {
    start();
    ASSERT_THAT(call("SavePreset", {"Kept", gains({1, 2, 3, 4, 5, 6, 7, 8})}), IsDone());
    ASSERT_THAT(set("org.example.player", {{"volume", 0.5}}), IsDone());
    const RunningState before = state();
    const auto settingsBefore = controller->settingsBySourceID().value();

    auto attack = std::async(std::launch::async,
                             [address = bus.address()] { return makeHostileCalls(address, kCalls, 1); });
    ASSERT_TRUE(
        waitUntil([&] { return attack.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
                  std::chrono::seconds(50)));
    const HostileOutcome outcome = attack.get();
    EXPECT_EQ(outcome.refused, kCalls);
    EXPECT_EQ(outcome.answered, 0) << outcome.firstUnexpected;
    EXPECT_EQ(outcome.silent, 0);

    EXPECT_EQ(state(), before);
    EXPECT_EQ(controller->settingsBySourceID().value(), settingsBefore);
    EXPECT_FALSE(service->hasSubscribers());
    EXPECT_THAT(authorization.openRequests, testing::IsEmpty());
    EXPECT_THAT(set("org.example.player", {{"volume", 0.25}}), IsDone());
    EXPECT_EQ(state().sources[1].settings.volume, 0.25);
}

} // namespace
} // namespace vello
