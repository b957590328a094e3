// SPDX-License-Identifier: Apache-2.0
#include "Recording.h"

#include "SignalCode.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <stdexcept>

namespace vello::session {

Recording::Recording(int sampleRate, std::vector<RecordedCycle> cycles, std::vector<float> samples,
                     int channels)
    : sampleRate_(sampleRate), channels_(channels), cycles_(std::move(cycles)), samples_(std::move(samples)) {
    const std::size_t offset = cycles_.empty() ? 0 : cycles_.front().firstFrame;
    for (auto& cycle : cycles_)
        cycle.firstFrame -= offset;
}

const RecordedCycle& Recording::cycleOf(std::size_t frame) const {
    const auto after = std::upper_bound(
        cycles_.begin(), cycles_.end(), frame,
        [](std::size_t wanted, const RecordedCycle& cycle) { return wanted < cycle.firstFrame; });
    if (after == cycles_.begin() || frame >= frames())
        throw std::out_of_range("frame outside of the recording");
    return *(after - 1);
}

std::uint64_t Recording::position(std::size_t frame) const {
    const auto& cycle = cycleOf(frame);
    return cycle.position + (frame - cycle.firstFrame);
}

std::uint64_t Recording::lostFrames() const {
    std::uint64_t lost = 0;
    for (std::size_t i = 1; i < cycles_.size(); ++i) {
        const auto passed = static_cast<double>(cycles_[i].scheduledTime - cycles_[i - 1].scheduledTime);
        const double missing = passed * 1e-9 * sampleRate_ - static_cast<double>(cycles_[i - 1].frames);
        // A virtual driver's schedule is exact; half a cycle separates a missed cycle from rounding.
        if (missing > static_cast<double>(cycles_[i].frames) / 2)
            lost += static_cast<std::uint64_t>(std::llround(missing));
    }
    return lost;
}

std::int64_t Recording::time(std::size_t frame) const {
    return cycleOf(frame).time;
}

std::size_t Recording::frameAt(std::int64_t time) const {
    const auto found =
        std::ranges::find_if(cycles_, [&](const RecordedCycle& cycle) { return cycle.time >= time; });
    return found == cycles_.end() ? frames() : found->firstFrame;
}

std::size_t Recording::cyclesOffValue(float value, float tolerance) const {
    const auto isOff = [&](const RecordedCycle& cycle) {
        for (std::size_t frame = 0; frame < cycle.frames; ++frame)
            if (std::abs(sample(cycle.firstFrame + frame, 0) - value) > tolerance)
                return true;
        return false;
    };
    return static_cast<std::size_t>(std::ranges::count_if(cycles_, isOff));
}

std::vector<Stretch> Recording::stretches(const std::function<int(float, float)>& kindOf) const {
    std::vector<Stretch> result;
    for (std::size_t frame = 0; frame < frames(); ++frame) {
        const int kind = kindOf(sample(frame, 0), sample(frame, 1));
        if (result.empty() || result.back().kind != kind)
            result.push_back({kind, frame, 0});
        ++result.back().frames;
    }
    return result;
}

std::optional<std::int64_t> Recording::delay(std::size_t frame) const {
    const auto number = signalCode::decode(sample(frame, 0));
    if (!number)
        return std::nullopt;
    const auto period = static_cast<std::int64_t>(signalCode::kPeriod);
    auto difference =
        static_cast<std::int64_t>(position(frame) % signalCode::kPeriod) - static_cast<std::int64_t>(*number);
    if (difference > period / 2)
        difference -= period;
    if (difference < -period / 2)
        difference += period;
    return difference;
}

double Recording::amplitude(double frequency, std::size_t first, std::size_t count, int channel) const {
    std::complex<double> sum = 0;
    double weights = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double phase = 2 * std::numbers::pi * static_cast<double>(i);
        const double weight = 0.5 - 0.5 * std::cos(phase / static_cast<double>(count));
        sum += weight * static_cast<double>(sample(first + i, channel)) *
               std::polar(1.0, -phase * frequency / sampleRate_);
        weights += weight;
    }
    return 2 * std::abs(sum) / weights;
}

double decibels(double amplitudeRatio) {
    return 20 * std::log10(amplitudeRatio);
}

double median(std::vector<double> values) {
    if (values.empty())
        throw std::invalid_argument("no median of nothing");
    std::ranges::sort(values);
    const auto middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace vello::session
