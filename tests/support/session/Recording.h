// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace vello::session {

/// One cycle of the graph as recorded.
struct RecordedCycle {
    std::size_t firstFrame = 0; ///< number of the first frame since the recorder's start
    std::size_t frames = 0;
    std::uint64_t position = 0;     ///< driver's clock at the first frame, in frames
    std::int64_t scheduledTime = 0; ///< start according to the driver, nanoseconds of the monotonic clock
    std::int64_t time = 0;          ///< arrival at the recorder, nanoseconds of the monotonic clock
};

/// A run of consecutive frames of one kind.
struct Stretch {
    int kind = 0;
    std::size_t firstFrame = 0; ///< relative to the recording's first frame
    std::size_t frames = 0;
};

/// The sound of an output over a number of cycles.
class Recording {
public:
    /// `samples` are interleaved.
    Recording(int sampleRate, std::vector<RecordedCycle> cycles, std::vector<float> samples,
              int channels = 2);

    int sampleRate() const { return sampleRate_; } ///< Hz
    int channels() const { return channels_; }
    std::size_t frames() const { return samples_.size() / static_cast<std::size_t>(channels_); }
    const std::vector<RecordedCycle>& cycles() const { return cycles_; }
    float sample(std::size_t frame, int channel) const {
        return samples_[static_cast<std::size_t>(channels_) * frame + static_cast<std::size_t>(channel)];
    }
    /// Position of the driver's clock at a frame.
    std::uint64_t position(std::size_t frame) const;
    /// Frames that are missing between recorded cycles according to the driver's schedule.
    std::uint64_t lostFrames() const;
    /// Arrival time of the cycle of this frame, nanoseconds of the monotonic clock.
    std::int64_t time(std::size_t frame) const;
    /// The first frame whose cycle arrived at or after `time`; frames() when there is none.
    std::size_t frameAt(std::int64_t time) const;

    /// Number of cycles in which a frame of the left channel differs from `value` by more than `tolerance`.
    std::size_t cyclesOffValue(float value, float tolerance) const;
    /// Splits a recording of two channels or more where the kind of the frames changes.
    std::vector<Stretch> stretches(const std::function<int(float left, float right)>& kindOf) const;
    /// Frames between the driver's clock when the player wrote a sample and the time when the sample was
    /// heard. Absent when the frame does not carry a number. See signalCode.
    std::optional<std::int64_t> delay(std::size_t frame) const;
    /// Amplitude of a sine of that frequency in one channel over frames [first, first + count), by a
    /// Hann-windowed projection.
    double amplitude(double frequency, std::size_t first, std::size_t count, int channel) const;

private:
    const RecordedCycle& cycleOf(std::size_t frame) const;

    int sampleRate_;
    int channels_;
    std::vector<RecordedCycle> cycles_;
    std::vector<float> samples_;
};

double decibels(double amplitudeRatio);
/// The middle value; the mean of the two middle values when their number is even.
double median(std::vector<double> values);

} // namespace vello::session
