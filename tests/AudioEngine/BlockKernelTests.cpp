// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/BlockKernel.h"

#include "AudioEngine/DenormalsAreZero.h"
#include "SignalSupport.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <rapidcheck.h>

#include <array>
#include <bit>
#include <cstdlib>
#include <limits>
#include <string>

namespace vello {
namespace {

using test::noise;
using test::randomGains;
using test::settingsWithGains;

/// How many 32-bit floats lie between, one of the two included.
std::int64_t unitsBetween(float a, float b) {
    const auto place = [](float value) -> std::int64_t {
        const auto bits = std::bit_cast<std::int32_t>(value);
        return bits >= 0 ? bits : std::int64_t{std::numeric_limits<std::int32_t>::min()} - bits;
    };
    return std::abs(place(a) - place(b));
}

/// Within one unit in the last place. Beside a zero crossing that unit gets smaller than any error of double
/// precision relative to the signal; there the signal's own scale counts (10^-13 is -260 dBFS).
testing::AssertionResult agree(float got, float expected) {
    if (unitsBetween(got, expected) <= 1 || std::abs(got - expected) < 1e-13F)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << got << " differs from " << expected;
}

/// A kernel with the memory that it works on.
class Runner {
public:
    Runner(BlockKernel kernel, std::size_t channels) : states(channels), kernel_(kernel) {
        job.channelCount = channels;
    }

    /// Runs the next `frames` frames of `samples` in place.
    std::uint32_t run(float* samples, std::size_t frames) { return run(samples, samples, frames); }
    std::uint32_t run(const float* source, float* destination, std::size_t frames) {
        job.source = source;
        job.destination = destination;
        job.frames = frames;
        job.states = states.data();
        job.scratch = scratch_.data();
        return kernel_(job);
    }

    BlockJob job;
    std::vector<CascadeState> states;

private:
    struct alignas(64) Scratch : std::array<double, kScratchSamples> {};
    BlockKernel kernel_;
    Scratch scratch_;
};

/// Every kernel that this processor can run.
class BlockKernelVariant : public testing::TestWithParam<std::int64_t> {
protected:
    BlockKernelVariant() {
        hwy::SetSupportedTargetsForTest(GetParam());
        kernel_ = selectBlockKernel();
    }
    ~BlockKernelVariant() override {
        hwy::SetSupportedTargetsForTest(0);
        selectBlockKernel();
    }

    /// The same blocks through the variant and the reference.
    void expectAgreement(const BlockJob& job, const std::vector<float>& samples,
                         const std::vector<std::size_t>& blocks) {
        Runner variant(kernel_, job.channelCount);
        Runner reference(referenceBlockKernel, job.channelCount);
        std::vector<float> got = samples;
        std::vector<float> expected = samples;
        std::size_t at = 0;
        for (const std::size_t frames : blocks) {
            variant.job = job;
            reference.job = job;
            const std::uint32_t peak = variant.run(got.data() + at, frames);
            ASSERT_TRUE(agree(std::bit_cast<float>(peak),
                              std::bit_cast<float>(reference.run(expected.data() + at, frames))));
            at += frames * job.channelCount;
            ASSERT_LE(at, samples.size());
        }
        for (std::size_t i = 0; i < at; ++i)
            ASSERT_TRUE(agree(got[i], expected[i])) << "at " << i;
        for (std::size_t c = 0; c < job.channelCount; ++c)
            expectNear(variant.states[c], reference.states[c]);
    }

    void expectNear(const CascadeState& got, const CascadeState& expected) {
        for (std::size_t age = 0; age < 2; ++age) {
            for (std::size_t k = 0; k < kSectionCount; ++k)
                ASSERT_NEAR(got.differences[age][k], expected.differences[age][k], 1e-12);
            for (std::size_t k = 0; k <= kSectionCount; ++k)
                ASSERT_NEAR(got.histories[age][k], expected.histories[age][k], 1e-12);
        }
    }

    BlockKernel kernel_ = nullptr;
};

TEST_P(BlockKernelVariant, AgreesWithTheReferenceAtEveryShortLength) {
    const EQChainSnapshot snapshot(settingsWithGains({-6, 5, 3.5, -1.5, 12, 0, -12, 7}), 48000);
    for (const std::size_t channels : {1U, 2U})
        for (std::size_t frames = 1; frames <= 67; ++frames) {
            const BlockJob job{.channelCount = channels,
                               .setup = snapshot.biquadSetup(),
                               .appliesGain = frames % 2 == 0,
                               .gainStart = 0.25F,
                               .gainStep = 0.01F};
            expectAgreement(job, noise(5 * frames * channels, static_cast<std::uint32_t>(frames)),
                            std::vector<std::size_t>(5, frames));
        }
}

TEST_P(BlockKernelVariant, AgreesWithTheReferenceForAnyBlocksCurveAndVolume) {
    const bool holds = rc::check([this] {
        const auto seed = *rc::gen::arbitrary<std::uint32_t>();
        const auto channels = *rc::gen::inRange<std::size_t>(1, 4);
        const auto size = rc::gen::weightedOneOf<std::size_t>(
            {{4, rc::gen::inRange<std::size_t>(1, 100)}, {1, rc::gen::inRange<std::size_t>(900, 2200)}});
        const auto blocks = *rc::gen::container<std::vector<std::size_t>>(size);
        std::mt19937 random(seed);
        const EQChainSnapshot snapshot(settingsWithGains(randomGains(random)), 44100);
        const BlockJob job{.channelCount = channels,
                           .setup = *rc::gen::arbitrary<bool>() ? snapshot.biquadSetup() : nullptr,
                           .appliesGain = *rc::gen::arbitrary<bool>(),
                           .gainStart = static_cast<float>(*rc::gen::inRange(0, 400)) / 100.0F,
                           .gainStep = static_cast<float>(*rc::gen::inRange(-100, 100)) / 1e5F};
        std::size_t frames = 0;
        for (const std::size_t block : blocks)
            frames += block;
        expectAgreement(job, noise(frames * channels + 1, seed), blocks);
        RC_ASSERT(!HasFatalFailure());
    });
    EXPECT_TRUE(holds);
}

TEST_P(BlockKernelVariant, KeepsItsMemoryAcrossAChangeOfCurve) {
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
        ASSERT_TRUE(agree(got[i], expected[i])) << "at " << i;
}

TEST_P(BlockKernelVariant, GivesTheSameBitsHoweverTheSignalIsCut) {
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

TEST_P(BlockKernelVariant, WritesNothingBesideItsBlock) {
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

TEST_P(BlockKernelVariant, FindsThePeakWhereverItIs) {
    for (std::size_t index = 0; index < 2 * 67; ++index) {
        Runner runner(kernel_, 2);
        std::vector<float> samples(2 * 67, 0.125F);
        samples[index] = -0.5F;
        EXPECT_EQ(std::bit_cast<float>(runner.run(samples.data(), 67)), 0.5F);
    }
}

TEST_P(BlockKernelVariant, ReportsANaNWhereverItIsEvenBesideInfinity) {
    for (std::size_t index = 0; index < 2 * 67; ++index) {
        Runner runner(kernel_, 2);
        std::vector<float> samples(2 * 67, std::numeric_limits<float>::infinity());
        samples[index] = std::numeric_limits<float>::quiet_NaN();
        EXPECT_TRUE(std::isnan(std::bit_cast<float>(runner.run(samples.data(), 67))));
    }
}

TEST_P(BlockKernelVariant, TakesInfinityForANumber) {
    Runner runner(kernel_, 1);
    std::vector<float> samples(67, -std::numeric_limits<float>::infinity());
    EXPECT_EQ(std::bit_cast<float>(runner.run(samples.data(), 67)), std::numeric_limits<float>::infinity());
}

TEST_P(BlockKernelVariant, SeesADenormalPeakAlsoWhereArithmeticFlushesThem) {
    const DenormalsAreZero denormalsAreZero;
    const float denormal = std::bit_cast<float>(std::uint32_t{1});
    Runner runner(kernel_, 1);
    std::vector<float> samples(67, denormal);
    EXPECT_EQ(runner.run(samples.data(), 67), 1U);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(samples[66]), 1U);
}

std::string targetName(const testing::TestParamInfo<std::int64_t>& info) {
    return hwy::TargetName(info.param);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, BlockKernelVariant,
                         testing::ValuesIn(hwy::SupportedAndGeneratedTargets()), targetName);

TEST(BlockKernel, IsChosenForTheBestTargetByDefault) {
    hwy::SetSupportedTargetsForTest(hwy::SupportedAndGeneratedTargets().front());
    const BlockKernel best = selectBlockKernel();
    hwy::SetSupportedTargetsForTest(0);
    EXPECT_EQ(selectBlockKernel(), best);
}

} // namespace
} // namespace vello
