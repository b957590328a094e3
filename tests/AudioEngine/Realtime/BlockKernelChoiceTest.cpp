// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/BlockKernelChoice.h"

#include "AudioEngine/Realtime/BlockKernelSelfTest.h"
#include "AudioEngine/Realtime/BlockKernelTargets.h"
#include "BrokenKernels.h"
#include "OfferedTargets.h"

#include <gmock/gmock.h>
#include <hwy/targets.h>

#include <set>
#include <string>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr BlockKernelVariant kReference{"reference", &referenceBlockKernel};

// The self-test

class SelfTest : public testing::TestWithParam<BlockKernelVariant> {};

TEST_P(SelfTest, FindsWhatIsWrong) {
    EXPECT_FALSE(passesSelfTest(GetParam().kernel));
}

INSTANTIATE_TEST_SUITE_P(Every, SelfTest, testing::ValuesIn(test::kBrokenKernels),
                         [](const auto& variant) { return std::string(variant.param.name); });

TEST(BlockKernelSelfTest, PassesTheReference) {
    EXPECT_TRUE(passesSelfTest(&referenceBlockKernel));
}

TEST(BlockKernelSelfTest, ForgivesOneUnitInTheLastPlace) {
    EXPECT_TRUE(samplesAgree(1.0F, 1.0F + 0x1p-23F));
    EXPECT_FALSE(samplesAgree(1.0F, 1.0F + 0x1p-22F));
    EXPECT_TRUE(samplesAgree(0x1p-149F, -0.0F));
    EXPECT_TRUE(samplesAgree(0.5e-13F, -0.4e-13F));
    EXPECT_FALSE(samplesAgree(1.0F, -1.0F));
    EXPECT_FALSE(samplesAgree(std::numeric_limits<float>::quiet_NaN(), 0.0F));
}

// The choice

TEST(BlockKernelChoice, IsTheFirstThatIsRight) {
    const BlockKernelVariant candidates[] = {
        {"FAST", &referenceBlockKernel}, {"SLOW", test::silentKernel}, kReference};
    const BlockKernelChoice choice = chooseBlockKernel(candidates);
    EXPECT_STREQ(choice.chosen.name, "FAST");
    EXPECT_THAT(choice.refused, IsEmpty());
    EXPECT_EQ(choice.complaint(), "");
}

TEST(BlockKernelChoice, GoesDownToTheNextWhereOneIsWrong) {
    const BlockKernelVariant candidates[] = {{"FAST", test::silentKernel},
                                             {"MIDDLE", &referenceBlockKernel},
                                             {"SLOW", test::silentKernel},
                                             kReference};
    const BlockKernelChoice choice = chooseBlockKernel(candidates);
    EXPECT_STREQ(choice.chosen.name, "MIDDLE");
    EXPECT_EQ(choice.complaint(), "Filters for FAST give wrong results on this processor; using MIDDLE");
}

TEST(BlockKernelChoice, GoesDownToTheReferenceWhereAllAreWrong) {
    const BlockKernelVariant candidates[] = {
        {"FAST", test::silentKernel}, {"SLOW", test::silentKernel}, kReference};
    const BlockKernelChoice choice = chooseBlockKernel(candidates);
    EXPECT_EQ(choice.chosen.kernel, &referenceBlockKernel);
    EXPECT_THAT(choice.refused, ElementsAre("FAST", "SLOW"));
    EXPECT_EQ(choice.complaint(),
              "Filters for FAST, SLOW give wrong results on this processor; using reference");
}

TEST(BlockKernelChoice, OfTheProcessIsTheFastestOfThisProcessor) {
    const BlockKernelChoice& choice = processBlockKernel();
    EXPECT_EQ(choice.chosen.kernel, blockKernels().front().kernel);
    EXPECT_THAT(choice.refused, IsEmpty());
    EXPECT_EQ(&processBlockKernel(), &choice);
}

// The pinned instruction sets

std::set<std::string> namesOf(std::int64_t targets) {
    std::set<std::string> names;
    for (; targets != 0; targets &= targets - 1)
        names.insert(std::string(hwy::TargetName(targets & -targets)) + " of bit " +
                     std::to_string(std::countr_zero(static_cast<std::uint64_t>(targets))));
    return names;
}

TEST(KernelTargets, EachThatHighwayOffersHasAKernelOrIsLeftOutOnPurpose) {
    EXPECT_NE(test::targetsThatHighwayOffers() & VELLO_KERNEL_TARGETS, 0);
    EXPECT_THAT(namesOf(test::targetsThatHighwayOffers() & ~(VELLO_KERNEL_TARGETS | VELLO_TARGETS_LEFT_OUT)),
                IsEmpty());
}

TEST(KernelTargets, NoneIsBothUsedAndLeftOut) {
    EXPECT_THAT(namesOf(VELLO_KERNEL_TARGETS & VELLO_TARGETS_LEFT_OUT), IsEmpty());
}

TEST(KernelTargets, EachOfThisProcessorIsACandidate) {
    std::set<std::string> expected{"reference"};
    const std::int64_t plainCode = HWY_SCALAR | HWY_EMU128;
    for (std::int64_t targets = hwy::SupportedTargets() & HWY_TARGETS & ~plainCode; targets != 0;
         targets &= targets - 1)
        expected.insert(hwy::TargetName(targets & -targets));
    std::set<std::string> candidates;
    for (const BlockKernelVariant& variant : blockKernels())
        candidates.insert(variant.name);
    EXPECT_EQ(candidates, expected);
}

} // namespace
} // namespace vello
