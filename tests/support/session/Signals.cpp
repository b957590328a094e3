// SPDX-License-Identifier: Apache-2.0
#include "Signals.h"

#include "SignalCode.h"

#include <cmath>
#include <numbers>
#include <sstream>
#include <stdexcept>

namespace vello::session {
namespace {

std::vector<double> numbers(const std::string& text) {
    std::vector<double> result;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, ',');)
        result.push_back(std::stod(word));
    return result;
}

struct Sine {
    double frequency; ///< Hz
    double phase;     ///< radians at frame 0

    double operator()(std::uint64_t frame, double sampleRate) const {
        const double turns = std::fmod(frequency * static_cast<double>(frame) / sampleRate, 1.0);
        return std::sin(2 * std::numbers::pi * turns + phase);
    }
};

/// Phases differ by the golden angle, so that the peaks do not coincide.
std::vector<Sine> sinesOf(const std::string& frequencies) {
    std::vector<Sine> result;
    for (const double frequency : numbers(frequencies))
        result.push_back({frequency, 2.4 * static_cast<double>(result.size())});
    return result;
}

Signal sines(const std::string& argument, double sampleRate) {
    const auto at = argument.find('@');
    const auto amplitude = std::stod(argument.substr(at + 1));
    return [=, sines = sinesOf(argument.substr(0, at))](std::uint64_t, std::uint64_t counter, int) {
        double sum = 0;
        for (const Sine& sine : sines)
            sum += amplitude * sine(counter, sampleRate);
        return static_cast<float>(sum);
    };
}

Signal tones(const std::string& argument, double sampleRate) {
    const auto at = argument.find('@');
    const auto amplitude = std::stod(argument.substr(at + 1));
    return [=, sines = sinesOf(argument.substr(0, at))](std::uint64_t, std::uint64_t counter, int channel) {
        const auto index = static_cast<std::size_t>(channel);
        return index < sines.size() ? static_cast<float>(amplitude * sines[index](counter, sampleRate))
                                    : 0.0F;
    };
}

} // namespace

Signal makeSignal(const std::string& text, double sampleRate) {
    const auto equals = text.find('=');
    const auto kind = text.substr(0, equals);
    const auto argument = equals == std::string::npos ? std::string() : text.substr(equals + 1);
    if (kind == "position")
        return [](std::uint64_t position, std::uint64_t counter, int channel) {
            return signalCode::encode(channel == 0 ? position : counter);
        };
    if (kind == "counter")
        return [](std::uint64_t, std::uint64_t counter, int) { return signalCode::encode(counter); };
    if (kind == "constant")
        return [value = std::stof(argument)](std::uint64_t, std::uint64_t, int) { return value; };
    if (kind == "silence")
        return [](std::uint64_t, std::uint64_t, int) { return 0.0F; };
    if (kind == "sines")
        return sines(argument, sampleRate);
    if (kind == "tones")
        return tones(argument, sampleRate);
    throw std::invalid_argument("unknown signal " + text);
}

std::vector<float> renderSignal(const std::string& text, double sampleRate, std::size_t frames,
                                int channels) {
    const auto signal = makeSignal(text, sampleRate);
    std::vector<float> samples;
    samples.reserve(frames * static_cast<std::size_t>(channels));
    for (std::size_t frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < channels; ++channel)
            samples.push_back(signal(0, frame, channel));
    return samples;
}

} // namespace vello::session
