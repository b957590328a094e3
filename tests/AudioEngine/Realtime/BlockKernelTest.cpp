// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/BlockKernel.h"

#include "AudioEngine/Realtime/DenormalsAreZero.h"
#include "KernelCases.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <bit>
#include <limits>
#include <ostream>
#include <string>

namespace vello {

std::ostream& operator<<(std::ostream& stream, const BlockKernelVariant& variant) {
    return stream << variant.name;
}

namespace {

using test::disagreement;
using test::KernelCase;
using test::noise;
using test::randomGains;
using test::settingsWithGains;
using Runner = test::KernelRunner;

/// Runs with every kernel that this processor supports.
class BlockKernelVariantTest : public testing::TestWithParam<BlockKernelVariant> {
protected:
    BlockKernel kernel_ = GetParam().kernel;
};

TEST_P(BlockKernelVariantTest, AgreesWithTheReferenceAtEveryLength) {
    for (const KernelCase& kernelCase : test::kernelCases())
        ASSERT_EQ(disagreement(kernel_, kernelCase), "");
}

TEST_P(BlockKernelVariantTest, PassesTheSelfTest) {
    EXPECT_TRUE(passesSelfTest(kernel_));
}

TEST_P(BlockKernelVariantTest, AgreesWithTheReferenceForAnyBlocksCurveAndVolume) {
    const bool holds = rc::check([this] {
        const auto size = rc::gen::weightedOneOf<std::size_t>(
            {{4, rc::gen::inRange<std::size_t>(1, 100)}, {1, rc::gen::inRange<std::size_t>(900, 2200)}});
        const auto seed = *rc::gen::arbitrary<std::uint32_t>();
        std::mt19937 random(seed);
        const KernelCase kernelCase{.channels = *rc::gen::inRange<std::size_t>(1, 4),
                                    .blocks = *rc::gen::container<std::vector<std::size_t>>(size),
                                    .gains = randomGains(random),
                                    .isFiltered = *rc::gen::arbitrary<bool>(),
                                    .appliesGain = *rc::gen::arbitrary<bool>(),
                                    .gainStart = static_cast<float>(*rc::gen::inRange(0, 400)) / 100.0F,
                                    .gainStep = static_cast<float>(*rc::gen::inRange(-100, 100)) / 1e5F,
                                    .seed = seed};
        RC_ASSERT(disagreement(kernel_, kernelCase) == "");
    });
    EXPECT_TRUE(holds);
}

TEST_P(BlockKernelVariantTest, KeepsItsMemoryAcrossAChangeOfCurve) {
    std::mt19937 random(7);
    const std::vector<float> samples = noise(2 * 100 * 40, 7);
    Runner variant(kernel_, 2);
    Runner reference(referenceBlockKernel, 2);
    std::vector<float> got = samples;
    std::vector<float> expected = samples;
    for (std::size_t block = 0; block < 40; ++block) {
        const EQChainSnapshot snapshot(settingsWithGains(randomGains(random)), 48000);
        variant.job.setup = reference.job.setup = snapshot.biquadSetup();
        variant.run(got.data() + block * 200, 100);
        reference.run(expected.data() + block * 200, 100);
    }
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(samplesAgree(got[i], expected[i])) << "at " << i;
}

TEST_P(BlockKernelVariantTest, GivesTheSameBitsHoweverTheSignalIsCut) {
    const EQChainSnapshot snapshot(settingsWithGains({-6, 5, 3.5, -1.5, 12, 0, -12, 7}), 48000);
    const std::size_t frames = 2500;
    for (const std::size_t channels : {1U, 2U, 3U}) {
        const std::vector<float> samples = noise(frames * channels, 11);
        const auto cutAt = [&](auto nextLength) {
            Runner runner(kernel_, channels);
            runner.job.setup = snapshot.biquadSetup();
            std::vector<float> result = samples;
            for (std::size_t at = 0; at < frames;) {
                const std::size_t length = std::min<std::size_t>(nextLength(), frames - at);
                runner.run(result.data() + at * channels, length);
                at += length;
            }
            return result;
        };
        const std::vector<float> whole = cutAt([&] { return frames; });
        std::mt19937 random(5);
        EXPECT_EQ(cutAt([] { return 1; }), whole);
        EXPECT_EQ(cutAt([] { return 64; }), whole);
        EXPECT_EQ(cutAt([&] { return 1 + random() % 99; }), whole);
    }
}

TEST_P(BlockKernelVariantTest, WritesNothingBesideItsBlock) {
    const EQChainSnapshot snapshot(settingsWithGains({1, 2, 3, 4, 5, 6, 7, 8}), 48000);
    for (const BiquadSetup* setup : {snapshot.biquadSetup(), static_cast<const BiquadSetup*>(nullptr)})
        for (std::size_t frames = 1; frames <= 67; ++frames) {
            Runner runner(kernel_, 2);
            runner.job.setup = setup;
            const std::vector<float> source = noise(2 * frames, 3);
            std::vector<float> destination(2 * frames + 64, 123.0F);
            runner.run(source.data(), destination.data() + 32, frames);
            for (std::size_t i = 0; i < 32; ++i) {
                ASSERT_EQ(destination[i], 123.0F);
                ASSERT_EQ(destination[destination.size() - 1 - i], 123.0F);
            }
        }
}

TEST_P(BlockKernelVariantTest, FindsThePeakWhereverItIs) {
    for (std::size_t index = 0; index < 2 * 67; ++index) {
        Runner runner(kernel_, 2);
        std::vector<float> samples(2 * 67, 0.125F);
        samples[index] = -0.5F;
        EXPECT_EQ(std::bit_cast<float>(runner.run(samples.data(), 67)), 0.5F);
    }
}

TEST_P(BlockKernelVariantTest, ReportsANaNWhereverItIsEvenBesideInfinity) {
    for (std::size_t index = 0; index < 2 * 67; ++index) {
        Runner runner(kernel_, 2);
        std::vector<float> samples(2 * 67, std::numeric_limits<float>::infinity());
        samples[index] = std::numeric_limits<float>::quiet_NaN();
        EXPECT_TRUE(std::isnan(std::bit_cast<float>(runner.run(samples.data(), 67))));
    }
}

TEST_P(BlockKernelVariantTest, TakesInfinityForANumber) {
    Runner runner(kernel_, 1);
    std::vector<float> samples(67, -std::numeric_limits<float>::infinity());
    EXPECT_EQ(std::bit_cast<float>(runner.run(samples.data(), 67)), std::numeric_limits<float>::infinity());
}

TEST_P(BlockKernelVariantTest, SeesADenormalPeakAlsoWhereArithmeticFlushesThem) {
    const DenormalsAreZero denormalsAreZero;
    const float denormal = std::bit_cast<float>(std::uint32_t{1});
    Runner runner(kernel_, 1);
    std::vector<float> samples(67, denormal);
    EXPECT_EQ(runner.run(samples.data(), 67), 1U);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(samples[66]), 1U);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, BlockKernelVariantTest, testing::ValuesIn(blockKernels()),
                         [](const auto& variant) { return std::string(variant.param.name); });

} // namespace
} // namespace vello
