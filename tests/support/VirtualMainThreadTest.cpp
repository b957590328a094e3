// SPDX-License-Identifier: Apache-2.0
#include "VirtualMainThread.h"

#include <gmock/gmock.h>
#include <vector>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

struct VirtualClock : testing::Test {
    VirtualMainThread mainThread;
    std::vector<int> ran;
    MainThread::Action note(int number) {
        return [this, number] { ran.push_back(number); };
    }
};

TEST_F(VirtualClock, RunsPostedActionsInOrderAndNeverInsideTheCall) {
    mainThread.post([this] {
        mainThread.post(note(3));
        ran.push_back(1);
    });
    mainThread.post(note(2));
    EXPECT_THAT(ran, IsEmpty());
    mainThread.runPosted();
    EXPECT_THAT(ran, ElementsAre(1, 2, 3));
}

TEST_F(VirtualClock, StepsToEachDueActionInOrderOfTime) {
    const auto start = mainThread.now();
    std::vector<MainThread::Duration> times;
    const auto later = mainThread.after(20ms, [&] { times.push_back(mainThread.now() - start); });
    TaskHandle chained;
    const auto sooner = mainThread.after(10ms, [&] {
        times.push_back(mainThread.now() - start);
        chained = mainThread.after(5ms, [&] { times.push_back(mainThread.now() - start); });
    });
    mainThread.advance(19ms);
    EXPECT_THAT(times, ElementsAre(10ms, 15ms));
    EXPECT_EQ(mainThread.now() - start, 19ms);
    mainThread.advance(1ms);
    EXPECT_THAT(times, ElementsAre(10ms, 15ms, 20ms));
}

TEST_F(VirtualClock, ADroppedHandleCancels) {
    auto handle = mainThread.after(1ms, note(1));
    handle.reset();
    mainThread.advance(1s);
    EXPECT_THAT(ran, IsEmpty());
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

TEST_F(VirtualClock, AHandleMayBeDroppedInsideItsOwnAction) {
    TaskHandle handle;
    handle = mainThread.after(1ms, [&] {
        handle.reset();
        ran.push_back(1);
    });
    mainThread.advance(1ms);
    EXPECT_THAT(ran, ElementsAre(1));
}

TEST_F(VirtualClock, ADelayThatIsOverRunsSoon) {
    const auto handle = mainThread.after(-5ms, note(1));
    EXPECT_THAT(ran, IsEmpty());
    mainThread.runPosted();
    EXPECT_THAT(ran, ElementsAre(1));
}

TEST(VirtualClockEnd, DropsWhatWaitsWithoutRunningIt) {
    int runs = 0;
    TaskHandle outlives;
    {
        VirtualMainThread mainThread;
        outlives = mainThread.after(1ms, [&] { ++runs; });
        mainThread.post([&] { ++runs; });
    }
    outlives.reset();
    EXPECT_EQ(runs, 0);
}

} // namespace
} // namespace vello
