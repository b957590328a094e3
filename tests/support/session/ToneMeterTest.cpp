// SPDX-License-Identifier: Apache-2.0
#include "ToneMeter.h"
#include "Signals.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

#include <gmock/gmock.h>

namespace vello::session {
namespace {

using testing::DoubleNear;

constexpr int rate = 48000;
constexpr std::size_t window = 4800;
constexpr double spacing = static_cast<double>(rate) / window; // Hz

Recording played(const std::string& signal, int channels, std::size_t frames = window) {
    return Recording(rate, {}, renderSignal(signal, rate, frames, channels), channels);
}

TEST(ToneMeter, tellsTheLevelOfEachChannelsTone) {
    const auto levels =
        ToneMeter({110, 1000, 8030}, rate, window).measure(played("tones=110,1000,8030@0.1", 3));
    for (std::size_t tone = 0; tone < 3; ++tone)
        for (std::size_t channel = 0; channel < 3; ++channel)
            if (tone == channel)
                EXPECT_THAT(levels[tone][channel], DoubleNear(-20, 1e-4)) << tone;
            else
                EXPECT_LT(levels[tone][channel], -140) << tone << " in " << channel;
}

TEST(ToneMeter, holdsApartTonesThatStandSideBySide) {
    const auto levels = ToneMeter({1000, 1000 + 2 * spacing, 1000 + 4 * spacing}, rate, window)
                            .measure(played("sines=1000,1040@0.5", 1));
    EXPECT_THAT(levels[0][0], DoubleNear(decibels(0.5), 1e-4));
    EXPECT_LT(levels[1][0], -120);
    EXPECT_THAT(levels[2][0], DoubleNear(decibels(0.5), 1e-4));
}

TEST(ToneMeter, givesTheSameLevelAtEveryPhase) {
    const ToneMeter meter({50, 430}, rate, window);
    for (std::size_t shift = 0; shift < 960; shift += 37) {
        const auto levels = meter.measure(played("tones=50,430@0.25", 2, window + shift));
        EXPECT_THAT(levels[0][0], DoubleNear(decibels(0.25), 1e-4)) << shift;
        EXPECT_THAT(levels[1][1], DoubleNear(decibels(0.25), 1e-4)) << shift;
    }
}

TEST(ToneMeter, measuresTheEndOfTheRecording) {
    auto samples = renderSignal("silence", rate, 2 * window, 1);
    const auto tone = renderSignal("sines=1000@0.5", rate, window, 1);
    std::ranges::copy(tone, samples.begin() + window);
    const auto levels = ToneMeter({1000}, rate, window).measure(Recording(rate, {}, samples, 1));
    EXPECT_THAT(levels[0][0], DoubleNear(decibels(0.5), 1e-4));
}

TEST(ToneMeter, tellsATenthOfADecibel) {
    const ToneMeter meter({1000}, rate, window);
    const auto louder = std::to_string(0.02 * std::pow(10.0, 0.1 / 20));
    const auto difference = meter.measure(played("sines=1000@" + louder, 1))[0][0] -
                            meter.measure(played("sines=1000@0.02", 1))[0][0];
    EXPECT_THAT(difference, DoubleNear(0.1, 0.001));
}

TEST(ToneMeter, hearsSilence) {
    const auto levels = ToneMeter({1000}, rate, window).measure(played("silence", 2));
    EXPECT_THAT(levels, testing::ElementsAre(testing::ElementsAre(silentLevel, silentLevel)));
}

TEST(ToneMeter, refusesWhatItCannotMeasure) {
    EXPECT_THROW(ToneMeter({1003}, rate, window), std::invalid_argument);
    EXPECT_THROW(ToneMeter({1000, 1000 + spacing}, rate, window), std::invalid_argument);
    EXPECT_THROW(ToneMeter({1000}, rate, window).measure(played("silence", 1, window - 1)),
                 std::out_of_range);
}

} // namespace
} // namespace vello::session
