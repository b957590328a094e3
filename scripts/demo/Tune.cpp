// SPDX-License-Identifier: Apache-2.0
#include "Tune.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

#include <sndfile.h>

namespace vello::demo {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;
/// Semitones of the piece's four bars relative to the key.
constexpr std::array<int, 4> kBars = {0, -4, 3, -2};
/// Semitones of a chord relative to its bar, two octaves up.
constexpr std::array<int, 4> kChord = {24, 27, 31, 36};
constexpr int kBeatsPerBar = 4;

double raised(double frequency, int halfTones) {
    return frequency * std::exp2(halfTones / 12.0);
}

/// A decaying hit with falling pitch.
double drum(double sinceHit) {
    return std::sin(kTurn * (48 * sinceHit + 6 * (1 - std::exp(-30 * sinceHit)))) * std::exp(-9 * sinceHit);
}

/// A tone with decreasing harmonics.
double tone(double frequency, double seconds, int harmonics) {
    double sum = 0;
    for (int harmonic = 1; harmonic <= harmonics; ++harmonic)
        sum += std::sin(kTurn * frequency * harmonic * seconds) / harmonic;
    return sum;
}

double sample(const Tune& tune, double seconds, double noise) {
    const double beats = seconds * tune.beatsPerMinute / 60;
    const double sinceBeat = (beats - std::floor(beats)) * 60 / tune.beatsPerMinute;
    const double half = 2 * beats;
    const double sinceHalf = (half - std::floor(half)) * 30 / tune.beatsPerMinute;
    const auto bar = static_cast<std::size_t>(beats / kBeatsPerBar) % kBars.size();
    const double root = raised(tune.key, kBars[bar]);
    double chord = 0;
    for (const int step : kChord)
        chord += tone(raised(root, step), seconds, 5);
    return 0.9 * drum(sinceBeat) + 0.4 * tone(root, seconds, 6) * std::exp(-2 * sinceBeat) + 0.09 * chord +
           0.12 * noise * std::exp(-45 * sinceHalf);
}

} // namespace

void writeTune(const Tune& tune, int sampleRate, std::size_t seconds, const std::filesystem::path& file) {
    const std::size_t frames = static_cast<std::size_t>(sampleRate) * seconds;
    std::minstd_rand random(1);
    std::uniform_real_distribution<double> white(-1, 1);
    std::vector<float> samples;
    samples.reserve(2 * frames);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double value = sample(tune, static_cast<double>(frame) / sampleRate, white(random));
        samples.insert(samples.end(), 2, static_cast<float>(tune.loudness * std::tanh(value)));
    }
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* const sound = sf_open(file.c_str(), SFM_WRITE, &info);
    const auto written = sf_writef_float(sound, samples.data(), static_cast<sf_count_t>(frames));
    if (sf_close(sound) != 0 || written != static_cast<sf_count_t>(frames))
        throw std::runtime_error("cannot write " + file.string());
}

} // namespace vello::demo
