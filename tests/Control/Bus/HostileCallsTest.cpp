// SPDX-License-Identifier: Apache-2.0
#include "ControlFixture.h"

#include "support/HostileCalls.h"

#include <chrono>
#include <cstdlib>
#include <future>

namespace vello {
namespace {

constexpr int kCallsAtOnce = 500;
/// For so many calls, which take about a second on a busy machine.
constexpr std::chrono::seconds kLongestAttack{60};

/// VELLO_HOSTILE_CALLS for a measurement. The usual number still reaches every member with every kind of
/// value many times.
int hostileCalls() {
    const char* const wanted = std::getenv("VELLO_HOSTILE_CALLS");
    return wanted != nullptr ? std::atoi(wanted) : 5'000;
}

struct HostileCalls : Control {
    void attack(int seed, AttackedMembers members) {
        auto calls = std::async(std::launch::async, [address = bus.address(), seed, members] {
            return makeHostileCalls(address, kCallsAtOnce, static_cast<unsigned>(seed), members);
        });
        ASSERT_TRUE(
            waitUntil([&] { return calls.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
                      kLongestAttack));
        const HostileOutcome outcome = calls.get();
        ASSERT_EQ(outcome.refused, kCallsAtOnce);
        ASSERT_EQ(outcome.answered, 0) << outcome.firstUnexpected;
        ASSERT_EQ(outcome.silent, 0);
    }

    void expectRefused(int calls, AttackedMembers members) {
        start();
        ASSERT_THAT(call("SavePreset", {"Kept", gains({1, 2, 3, 4, 5, 6, 7, 8})}), IsDone());
        ASSERT_THAT(set("org.example.player", {{"volume", 0.5}}), IsDone());
        const RunningState before = state();
        const auto settingsBefore = controller->settingsBySourceID().value();

        for (int made = 0; made < calls; made += kCallsAtOnce)
            ASSERT_NO_FATAL_FAILURE(attack(1 + made / kCallsAtOnce, members));

        EXPECT_EQ(state(), before);
        EXPECT_EQ(controller->settingsBySourceID().value(), settingsBefore);
        EXPECT_FALSE(service->hasSubscribers());
        EXPECT_THAT(authorization.openRequests, testing::IsEmpty());
        EXPECT_THAT(set("org.example.player", {{"volume", 0.25}}), IsDone());
        EXPECT_EQ(state().sources[1].settings.volume, 0.25);
    }
};

TEST_F(HostileCalls, LeaveTheInstanceRunningUnchangedAndAnswering) {
    expectRefused(hostileCalls(), AttackedMembers::all);
}

TEST_F(HostileCalls, OnPresetsAndSourcesAreRefused) {
    expectRefused(hostileCalls(), AttackedMembers::presetsAndSources);
}

} // namespace
} // namespace vello
