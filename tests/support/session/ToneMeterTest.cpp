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

constexpr int kRate = 48000;
constexpr std::size_t kWindow = 4800;
constexpr double kSpacing = static_cast<double>(kRate) / kWindow; // Hz

Recording played(const std::string& signal, int channels, std::size_t frames = kWindow) {
    return Recording(kRate, {}, renderSignal(signal, kRate, frames, channels), channels);
}

TEST(ToneMeter, TellsTheLevelOfEachChannelsTone) {
    const auto levels =
        ToneMeter({110, 1000, 8030}, kRate, kWindow).measure(played("tones=110,1000,8030@0.1", 3));
    for (std::size_t tone = 0; tone < 3; ++tone)
        for (std::size_t channel = 0; channel < 3; ++channel)
            if (tone == channel)
                EXPECT_THAT(levels[tone][channel], DoubleNear(-20, 1e-4)) << tone;
            else
                EXPECT_LT(levels[tone][channel], -140) << tone << " in " << channel;
}

TEST(ToneMeter, HoldsApartTonesThatStandSideBySide) {
    const auto levels = ToneMeter({1000, 1000 + 2 * kSpacing, 1000 + 4 * kSpacing}, kRate, kWindow)
                            .measure(played("sines=1000,1040@0.5", 1));
    EXPECT_THAT(levels[0][0], DoubleNear(decibels(0.5), 1e-4));
    EXPECT_LT(levels[1][0], -120);
    EXPECT_THAT(levels[2][0], DoubleNear(decibels(0.5), 1e-4));
}

TEST(ToneMeter, GivesTheSameLevelAtEveryPhase) {
    const ToneMeter meter({50, 430}, kRate, kWindow);
    for (std::size_t shift = 0; shift < 960; shift += 37) {
        const auto levels = meter.measure(played("tones=50,430@0.25", 2, kWindow + shift));
        EXPECT_THAT(levels[0][0], DoubleNear(decibels(0.25), 1e-4)) << shift;
        EXPECT_THAT(levels[1][1], DoubleNear(decibels(0.25), 1e-4)) << shift;
    }
}

TEST(ToneMeter, MeasuresTheEndOfTheRecording) {
    auto samples = renderSignal("silence", kRate, 2 * kWindow, 1);
    const auto tone = renderSignal("sines=1000@0.5", kRate, kWindow, 1);
    std::ranges::copy(tone, samples.begin() + kWindow);
    const auto levels = ToneMeter({1000}, kRate, kWindow).measure(Recording(kRate, {}, samples, 1));
    EXPECT_THAT(levels[0][0], DoubleNear(decibels(0.5), 1e-4));
}

TEST(ToneMeter, TellsATenthOfADecibel) {
    const ToneMeter meter({1000}, kRate, kWindow);
    const auto louder = std::to_string(0.02 * std::pow(10.0, 0.1 / 20));
    const auto difference = meter.measure(played("sines=1000@" + louder, 1))[0][0] -
                            meter.measure(played("sines=1000@0.02", 1))[0][0];
    EXPECT_THAT(difference, DoubleNear(0.1, 0.001));
}

TEST(ToneMeter, HearsSilence) {
    const auto levels = ToneMeter({1000}, kRate, kWindow).measure(played("silence", 2));
    EXPECT_THAT(levels, testing::ElementsAre(testing::ElementsAre(kSilentLevel, kSilentLevel)));
}

TEST(ToneMeter, RefusesWhatItCannotMeasure) {
    EXPECT_THROW(ToneMeter({1003}, kRate, kWindow), std::invalid_argument);
    EXPECT_THROW(ToneMeter({1000, 1000 + kSpacing}, kRate, kWindow), std::invalid_argument);
    EXPECT_THROW(ToneMeter({1000}, kRate, kWindow).measure(played("silence", 1, kWindow - 1)),
                 std::out_of_range);
}

} // namespace
} // namespace vello::session
