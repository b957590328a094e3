// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/LaunchPresentation.h"
#include "support/VirtualMainThread.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace vello {
namespace {

using namespace std::chrono_literals;

class LaunchPresentationTest : public testing::Test {
protected:
    std::unique_ptr<LaunchPresentation> presentation() {
        return std::make_unique<LaunchPresentation>(
            mainThread,
            [this] {
                attempts.push_back(mainThread.now() - begun);
                return attempts.size() == succeedsAtAttempt;
            },
            [this] { givenUpAt.push_back(mainThread.now() - begun); });
    }

    VirtualMainThread mainThread;
    MainThread::Instant begun = mainThread.now();
    std::size_t succeedsAtAttempt = 0; ///< 0: never
    std::vector<MainThread::Duration> attempts;
    std::vector<MainThread::Duration> givenUpAt;
};

TEST_F(LaunchPresentationTest, OpensAtOnceWhenTheItemIsThere) {
    succeedsAtAttempt = 1;
    const auto launch = presentation();
    launch->presentPanelWhenReady();
    EXPECT_EQ(attempts, std::vector<MainThread::Duration>{0ms});
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

TEST_F(LaunchPresentationTest, LooksEveryTenthOfASecondUntilTheItemIsThere) {
    succeedsAtAttempt = 4;
    const auto launch = presentation();
    launch->presentPanelWhenReady();
    mainThread.advance(1min);
    EXPECT_EQ(attempts, (std::vector<MainThread::Duration>{0ms, 100ms, 200ms, 300ms}));
    EXPECT_TRUE(givenUpAt.empty());
}

TEST_F(LaunchPresentationTest, GivesUpAfterTwentyFiveAttempts) {
    const auto launch = presentation();
    launch->presentPanelWhenReady();
    mainThread.advance(1min);
    EXPECT_EQ(attempts.size(), 25U);
    EXPECT_EQ(attempts.back(), 2400ms);
    EXPECT_EQ(givenUpAt, std::vector<MainThread::Duration>{2500ms});
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

TEST_F(LaunchPresentationTest, SucceedsAtTheLastAttempt) {
    succeedsAtAttempt = 25;
    const auto launch = presentation();
    launch->presentPanelWhenReady();
    mainThread.advance(1min);
    EXPECT_EQ(attempts.size(), 25U);
    EXPECT_TRUE(givenUpAt.empty());
}

TEST_F(LaunchPresentationTest, EndsItsSearchWhenItIsGone) {
    auto launch = presentation();
    launch->presentPanelWhenReady();
    launch.reset();
    mainThread.advance(1min);
    EXPECT_EQ(attempts.size(), 1U);
    EXPECT_TRUE(givenUpAt.empty());
}

} // namespace
} // namespace vello
