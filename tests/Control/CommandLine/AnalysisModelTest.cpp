// SPDX-License-Identifier: Apache-2.0
//
// Compares the output of `vello analyze` for generated sound files with an independent model.
#include "AnalysisModel.h"
#include "ProgramRun.h"
#include "SoundFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <sstream>

namespace vello {
namespace {

using test::Sound;

constexpr double kTolerance = 1e-3;
constexpr double kLeastMargin = 1e-10; // of the model's decisions; the product sums in a different order
constexpr std::array<double, 8> kCentres{63, 125, 250, 500, 1000, 2000, 4000, 8000};
constexpr std::array<int, 11> kRates{8000,  11025, 12000, 16000, 22050, 32000,
                                     44100, 48000, 88200, 96000, 192000};

std::size_t framesOf(double seconds, int rate) {
    return static_cast<std::size_t>(seconds * rate);
}

std::vector<double> sine(std::size_t frames, int rate, double frequency, double decibels) {
    const double amplitude = std::pow(10.0, decibels / 20);
    std::vector<double> signal(frames);
    for (std::size_t i = 0; i < frames; ++i)
        signal[i] =
            amplitude * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / rate + 0.3);
    return signal;
}

std::vector<double> noise(std::size_t frames, double amplitude, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> distribution(-amplitude, amplitude);
    std::vector<double> signal(frames);
    std::ranges::generate(signal, [&] { return distribution(random); });
    return signal;
}

/// Decaying tones of a few milliseconds, each shifted by up to `jitter` seconds.
std::vector<double> clicks(std::size_t frames, int rate, double beatsPerMinute, double jitter = 0,
                           unsigned seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> offset(-jitter, jitter);
    std::vector<double> signal(frames);
    for (double beat = 0.107; beat * rate < static_cast<double>(frames); beat += 60 / beatsPerMinute) {
        const auto begin = static_cast<std::size_t>((beat + offset(random)) * rate);
        for (std::size_t i = 0; i < framesOf(0.02, rate) && begin + i < frames; ++i) {
            const double time = static_cast<double>(i) / rate;
            signal[begin + i] += 0.8 * std::exp(-time / 0.004) * std::sin(2 * std::numbers::pi * 900 * time);
        }
    }
    return signal;
}

Sound mono(const std::vector<double>& signal, int rate) {
    return {rate, 1, std::vector<float>(signal.begin(), signal.end())};
}

Sound stereo(const std::vector<double>& left, const std::vector<double>& right, int rate) {
    Sound sound{rate, 2, {}};
    for (std::size_t i = 0; i < left.size(); ++i)
        for (const double sample : {left[i], right[i]})
            sound.samples.push_back(static_cast<float>(sample));
    return sound;
}

class AnalyzeProgram : public testing::Test {
protected:
    /// Expects the same result from the program and the model.
    void expectAgreement(const Sound& sound) {
        const nlohmann::json result = analyze(sound);
        ASSERT_EQ(result.value("sampleRate", 0), sound.sampleRate);
        ASSERT_EQ(result.value("channels", 0), sound.channels);
        expectSameSpectrum(result.at("spectrum"), sound);
        expectSameTempo(result.at("tempo"), sound);
    }

    int temposFound = 0;

private:
    nlohmann::json analyze(const Sound& sound) {
        test::writeSound(folder_ / "in.wav", sound);
        const auto run = test::runProgram(VELLO_EXECUTABLE, {"analyze", (folder_ / "in.wav").string()});
        EXPECT_EQ(run.exitCode, 0) << run.error;
        EXPECT_EQ(run.error, "");
        return nlohmann::json::parse(run.out);
    }

    static void expectSameSpectrum(const nlohmann::json& spectrum, const Sound& sound) {
        const auto expected = model::spectrumOf(sound.samples, sound.sampleRate, sound.channels);
        ASSERT_EQ(spectrum.is_null(), !expected);
        if (!expected)
            return;
        ASSERT_EQ(spectrum.size(), expected->levels.size());
        for (std::size_t band = 0; band < expected->levels.size(); ++band)
            EXPECT_NEAR(spectrum[band].get<double>(), expected->levels[band], kTolerance) << kCentres[band];
    }

    void expectSameTempo(const nlohmann::json& tempo, const Sound& sound) {
        const auto expected = model::tempoOf(sound.samples, sound.sampleRate, sound.channels);
        ASSERT_GT(expected.margin, kLeastMargin) << "this sound shows nothing; choose another";
        ASSERT_EQ(tempo.is_null(), !expected.tempo) << tempo;
        if (!expected.tempo)
            return;
        ++temposFound;
        EXPECT_EQ(tempo.at("beatsPerMinute"), expected.tempo->beatsPerMinute);
        EXPECT_NEAR(tempo.at("confidence").get<double>(), expected.tempo->confidence, kTolerance);
    }

    TemporaryFolder folder_;
};

class AnalyzeProgramAtRate : public AnalyzeProgram, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Rates, AnalyzeProgramAtRate, testing::ValuesIn(kRates),
                         testing::PrintToStringParamName());

TEST_P(AnalyzeProgramAtRate, AgreesWithTheModelOnSilence) {
    const std::vector<double> silence(framesOf(2.5, GetParam()));
    expectAgreement(mono(silence, GetParam()));
    expectAgreement(stereo(silence, silence, GetParam()));
    EXPECT_EQ(temposFound, 0);
}

TEST_P(AnalyzeProgramAtRate, AgreesWithTheModelOnSinesAtTheBandCentres) {
    for (const double centre : kCentres)
        for (const double decibels : {-60.0, -80.0, -100.0}) {
            SCOPED_TRACE(testing::Message() << centre << " Hz at " << decibels << " dB");
            const auto signal = sine(4000, GetParam(), centre, decibels);
            expectAgreement(mono(signal, GetParam()));
        }
}

TEST_P(AnalyzeProgramAtRate, AgreesWithTheModelOnASecondChannelAlone) {
    const std::size_t frames = framesOf(4, GetParam());
    const std::vector<double> silence(frames);
    expectAgreement(stereo(silence, sine(frames, GetParam(), 1000, -20), GetParam()));
    expectAgreement(stereo(silence, clicks(frames, GetParam(), 120), GetParam()));
    expectAgreement(stereo(silence, noise(frames, 0.3, 5), GetParam()));
    EXPECT_GE(temposFound, 1);
}

TEST_P(AnalyzeProgramAtRate, AgreesWithTheModelOnNoise) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const std::size_t frames = framesOf(2 + seed, GetParam());
        const double amplitude = std::pow(10.0, -static_cast<double>(seed));
        expectAgreement(mono(noise(frames, amplitude, seed), GetParam()));
        expectAgreement(stereo(noise(frames, amplitude, seed), noise(frames, 0.1, seed + 10), GetParam()));
    }
}

TEST_P(AnalyzeProgramAtRate, AgreesWithTheModelOnClicks) {
    for (const double beats : {60.0, 97.0, 120.0, 150.0, 194.0, 240.0, 45.0}) {
        SCOPED_TRACE(testing::Message() << beats << " beats a minute");
        const std::size_t frames = framesOf(7, GetParam());
        expectAgreement(mono(clicks(frames, GetParam(), beats), GetParam()));
        expectAgreement(stereo(clicks(frames, GetParam(), beats), clicks(frames, GetParam(), beats, 0.012, 3),
                               GetParam()));
    }
    EXPECT_GE(temposFound, 10);
}

TEST_P(AnalyzeProgramAtRate, AgreesWithTheModelOnHowMuchSoundIsEnough) {
    for (const std::size_t frames : {0U, 1U, 2047U, 2048U}) {
        const auto signal = sine(frames, GetParam(), 500, -70);
        expectAgreement(mono(signal, GetParam()));
        expectAgreement(stereo(signal, signal, GetParam()));
    }
    const auto enough = static_cast<std::size_t>(2 * GetParam());
    for (const std::size_t frames : {enough - 1, enough})
        expectAgreement(mono(clicks(frames, GetParam(), 120), GetParam()));
    EXPECT_EQ(temposFound, 1);
}

class AnalyzeProgramInBand : public AnalyzeProgram, public testing::WithParamInterface<double> {};
INSTANTIATE_TEST_SUITE_P(Bands, AnalyzeProgramInBand, testing::ValuesIn(kCentres));

TEST_P(AnalyzeProgramInBand, AgreesWithTheModelOnSinesOfEveryLevel) {
    for (int decibels = -104; decibels <= 0; decibels += decibels < -58 ? 2 : 10) {
        SCOPED_TRACE(testing::Message() << decibels << " dB");
        const auto signal = sine(2500, 48000, GetParam(), decibels);
        expectAgreement(stereo(signal, std::vector<double>(signal.size()), 48000));
    }
}

class AnalyzeProgramAtTempo : public AnalyzeProgram, public testing::WithParamInterface<int> {
protected:
    /// Tests ten tempi starting at the parameter, with alternating rates and channel counts.
    template <typename Signal> void expectAgreementOnTempi(Signal signal) {
        for (int beats = GetParam(); beats < GetParam() + 10 && beats <= 194; ++beats) {
            SCOPED_TRACE(testing::Message() << beats << " beats a minute");
            const int rate = kRates[static_cast<std::size_t>(beats) % kRates.size()];
            const std::vector<double> sound = signal(framesOf(6.5, rate), rate, beats);
            expectAgreement(beats % 2 == 0 ? mono(sound, rate) : stereo(sound, sound, rate));
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Tempi, AnalyzeProgramAtTempo, testing::Range(60, 195, 10),
                         testing::PrintToStringParamName());

TEST_P(AnalyzeProgramAtTempo, AgreesWithTheModelOnRegularClicks) {
    expectAgreementOnTempi(
        [](std::size_t frames, int rate, int beats) { return clicks(frames, rate, beats); });
    EXPECT_GE(temposFound, std::min(10, 195 - GetParam()));
}

TEST_P(AnalyzeProgramAtTempo, AgreesWithTheModelOnJitteredClicks) {
    expectAgreementOnTempi([](std::size_t frames, int rate, int beats) {
        return clicks(frames, rate, beats, 0.02, static_cast<unsigned>(beats));
    });
    EXPECT_GE(temposFound, 1);
}

TEST_P(AnalyzeProgramAtTempo, AgreesWithTheModelOnClicksUnderNoise) {
    expectAgreementOnTempi([](std::size_t frames, int rate, int beats) {
        auto signal = clicks(frames, rate, beats, 0.004, static_cast<unsigned>(beats));
        const auto hiss = noise(frames, 0.05, static_cast<unsigned>(beats));
        std::ranges::transform(signal, hiss, signal.begin(), std::plus());
        return signal;
    });
    EXPECT_GE(temposFound, 1);
}

TEST_P(AnalyzeProgramAtTempo, AgreesWithTheModelOnClicksOfOneFrame) {
    expectAgreementOnTempi([](std::size_t frames, int rate, int beats) {
        std::vector<double> signal(frames);
        for (double at = 0.1037; at * rate < static_cast<double>(frames); at += 60.0 / beats)
            signal[static_cast<std::size_t>(at * rate)] = 0.9;
        return signal;
    });
    EXPECT_GE(temposFound, std::min(10, 195 - GetParam()));
}

} // namespace
} // namespace vello
