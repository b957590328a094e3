// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Published.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace vello {
namespace {

TEST(Published, TellsItsObserversOfEveryChange) {
    Published<int> value{1};
    std::vector<int> told;
    const Observation observation = value.observe([&](int now) { told.push_back(now); });
    value.set(2);
    value.set(3);
    EXPECT_EQ(told, (std::vector{2, 3}));
    EXPECT_EQ(value.value(), 3);
}

TEST(Published, TellsNobodyWhenTheValueStaysTheSame) {
    Published<int> value{1};
    int told = 0;
    const Observation observation = value.observe([&](int) { ++told; });
    value.set(1);
    EXPECT_EQ(told, 0);
}

TEST(Published, TellsNobodyOfAnotherValue) {
    Published<int> one{1};
    Published<int> other{1};
    int told = 0;
    const Observation observation = one.observe([&](int) { ++told; });
    other.set(2);
    EXPECT_EQ(told, 0);
}

TEST(Published, IsSilentOnceTheHandleIsDropped) {
    Published<int> value{1};
    int told = 0;
    Observation observation = value.observe([&](int) { ++told; });
    observation.reset();
    value.set(2);
    EXPECT_EQ(told, 0);
}

TEST(Published, DoesNotTellAnObserverThatAnEarlierOneEnded) {
    Published<int> value{1};
    int told = 0;
    Observation second;
    const Observation first = value.observe([&](int) { second.reset(); });
    second = value.observe([&](int) { ++told; });
    value.set(2);
    EXPECT_EQ(told, 0);
}

TEST(Published, LetsAnObserverEndItself) {
    Published<int> value{1};
    int told = 0;
    Observation observation;
    observation = value.observe([&](int) {
        ++told;
        observation.reset();
    });
    value.set(2);
    value.set(3);
    EXPECT_EQ(told, 1);
}

TEST(Published, DoesNotTellAnObserverThatComesWhileOthersAreTold) {
    Published<int> value{1};
    std::vector<int> told;
    Observation late;
    const Observation first = value.observe([&](int) {
        if (!late)
            late = value.observe([&](int now) { told.push_back(now); });
    });
    value.set(2);
    EXPECT_TRUE(told.empty());
    value.set(3);
    EXPECT_EQ(told, std::vector{3});
}

TEST(Published, MayBeDestroyedBeforeItsObservers) {
    auto value = std::make_unique<Published<int>>(1);
    int told = 0;
    Observation observation = value->observe([&](int) { ++told; });
    value.reset();
    observation.reset();
    EXPECT_EQ(told, 0);
}

} // namespace
} // namespace vello
