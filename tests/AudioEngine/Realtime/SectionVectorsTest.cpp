// SPDX-License-Identifier: Apache-2.0
//
// Tests the layout of sections in vectors. Compiled once per instruction set, like the kernels.
#include "AudioEngine/Realtime/BlockKernelTargets.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "SectionVectorsTest.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef VELLO_SECTION_VECTORS_TESTS
#define VELLO_SECTION_VECTORS_TESTS
namespace vello {
/// Appends one line per tested layout to `layouts`, and one line per error to `faults`.
using LayoutCheck = void (*)(std::vector<std::string>& layouts, std::vector<std::string>& faults);
/// The check of one instruction set; null if it has no check.
template <std::int64_t kTarget> constexpr LayoutCheck layoutCheckFor = nullptr;
} // namespace vello
#endif

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

#include "SectionVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vello {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Checks every lane after moveOn(): each place has the outputs of the previous one, and the highest lanes
/// have the frame.
template <class L> HWY_INLINE void checkMove(const std::string& name, std::vector<std::string>& faults) {
    const typename L::Tag d;
    const double frame[] = {-3.0, -4.0};
    HWY_ALIGN double values[L::lanes];
    for (std::size_t lane = 0; lane < L::lanes; ++lane)
        values[lane] = static_cast<double>(lane + 1);
    hn::Store(L::moveOn(hn::Load(d, values), L::loadFrame(frame)), d, values);
    for (std::size_t lane = 0; lane < L::lanes; ++lane) {
        const bool isFirstPlace = lane + L::channelCount >= L::lanes;
        const double expected =
            isFirstPlace ? frame[lane % L::channelCount] : static_cast<double>(lane + L::channelCount + 1);
        if (values[lane] != expected)
            faults.push_back(name + ": lane " + std::to_string(lane) + " is " + std::to_string(values[lane]) +
                             " instead of " + std::to_string(expected));
    }
}

template <std::size_t kLanes, std::size_t kChannels>
struct LayoutUnderTest : Layout<hn::CappedTag<double, kLanes>, kChannels, 1> {
    using Tag = hn::CappedTag<double, kLanes>;
    static constexpr std::size_t channelCount = kChannels;
};

template <std::size_t kLanes, std::size_t kChannels>
HWY_NOINLINE void checkLayout(std::vector<std::string>& layouts, std::vector<std::string>& faults) {
    using L = LayoutUnderTest<kLanes, kChannels>;
    if constexpr (L::lanes == kLanes) { // otherwise this instruction set has shorter vectors
        const std::string name =
            std::to_string(kLanes) + " lanes, " + std::to_string(kChannels) + " channels";
        checkMove<L>(name, faults);
        layouts.push_back(name);
    }
}

void checkLayouts(std::vector<std::string>& layouts, std::vector<std::string>& faults) {
    checkLayout<2, 1>(layouts, faults);
    checkLayout<2, 2>(layouts, faults);
    checkLayout<4, 1>(layouts, faults);
    checkLayout<4, 2>(layouts, faults);
    checkLayout<8, 1>(layouts, faults);
    checkLayout<8, 2>(layouts, faults);
}

} // namespace HWY_NAMESPACE
} // namespace vello
HWY_AFTER_NAMESPACE();

namespace vello {
template <> constexpr LayoutCheck layoutCheckFor<HWY_TARGET> = &HWY_NAMESPACE::checkLayouts;
} // namespace vello

#endif

#if HWY_ONCE
namespace vello {
namespace {

class SectionVectors : public testing::TestWithParam<std::int64_t> {};

template <std::size_t... bit> LayoutCheck checkOf(std::int64_t target, std::index_sequence<bit...>) {
    LayoutCheck found = nullptr;
    ((target == std::int64_t{1} << bit ? void(found = layoutCheckFor<std::int64_t{1} << bit>) : void()), ...);
    return found;
}

/// The longest vectors of an instruction set have 2, 4 or 8 lanes. Shorter ones can be used as well.
TEST_P(SectionVectors, MoveEveryFrameOnByAPlace) {
    std::vector<std::string> layouts;
    std::vector<std::string> faults;
    if (const LayoutCheck check = checkOf(GetParam(), std::make_index_sequence<63>())) {
        check(layouts, faults);
        const std::size_t lengths = GetParam() == HWY_AVX3 ? 3 : GetParam() == HWY_AVX2 ? 2 : 1;
        EXPECT_EQ(layouts.size(), 2 * lengths);
    }
    EXPECT_EQ(faults, std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, SectionVectors, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

} // namespace
} // namespace vello
#endif
