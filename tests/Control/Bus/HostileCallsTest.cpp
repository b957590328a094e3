// SPDX-License-Identifier: Apache-2.0
#include "ControlFixture.h"

#include "support/HostileCalls.h"

#include <future>

namespace vello {
namespace {

struct HostileCalls : Control {
    void expectRefused(int calls, AttackedMembers members) {
        start();
        ASSERT_THAT(call("SavePreset", {"Kept", gains({1, 2, 3, 4, 5, 6, 7, 8})}), IsDone());
        ASSERT_THAT(set("org.example.player", {{"volume", 0.5}}), IsDone());
        const RunningState before = state();
        const auto settingsBefore = controller->settingsBySourceID().value();

        auto attack = std::async(std::launch::async, [address = bus.address(), calls, members] {
            return makeHostileCalls(address, calls, 1, members);
        });
        ASSERT_TRUE(
            waitUntil([&] { return attack.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
                      std::chrono::seconds(50)));
        const HostileOutcome outcome = attack.get();
        EXPECT_EQ(outcome.refused, calls);
        EXPECT_EQ(outcome.answered, 0) << outcome.firstUnexpected;
        EXPECT_EQ(outcome.silent, 0);

        EXPECT_EQ(state(), before);
        EXPECT_EQ(controller->settingsBySourceID().value(), settingsBefore);
        EXPECT_FALSE(service->hasSubscribers());
        EXPECT_THAT(authorization.openRequests, testing::IsEmpty());
        EXPECT_THAT(set("org.example.player", {{"volume", 0.25}}), IsDone());
        EXPECT_EQ(state().sources[1].settings.volume, 0.25);
    }
};

TEST_F(HostileCalls, LeaveTheInstanceRunningUnchangedAndAnswering) {
    expectRefused(10'000, AttackedMembers::all);
}

TEST_F(HostileCalls, OnPresetsAndSourcesAreRefused) {
    expectRefused(20'000, AttackedMembers::presetsAndSources);
}

} // namespace
} // namespace vello
