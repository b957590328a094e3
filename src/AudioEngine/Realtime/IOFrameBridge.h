// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <cstddef>
#include <memory>

namespace vello {

/// FIFO of interleaved frames between the input and the output of one I/O callback, for buffers of different
/// sizes. An overflow drops the oldest frames. An underrun repeats the last frame read, which clicks less
/// than silence. Use only inside the callback.
class IOFrameBridge {
public:
    static constexpr std::size_t capacityFrames = 8192;

    /// `channelCount` samples per frame; 0 counts as 1.
    explicit IOFrameBridge(std::size_t channelCount);

    std::size_t channelCount() const noexcept { return channelCount_; }
    /// Number of buffered frames.
    std::size_t available() const noexcept { return available_; }

    /// Appends frames. If there are more than the capacity, only the newest are kept.
    void write(const float* frames, std::size_t frameCount) noexcept VELLO_REALTIME;
    /// Removes frames. Missing frames repeat the last frame read, or are zero if no frame was read yet.
    void read(float* destination, std::size_t frameCount) noexcept VELLO_REALTIME;
    /// Equivalent to write() of `inputFrames` followed by read() of `outputFrames` to `output`. Returns the
    /// location of the frames: `output`, or `input` if they pass straight through, which saves the copy.
    const float* exchange(const float* input, std::size_t inputFrames, float* output,
                          std::size_t outputFrames) noexcept VELLO_REALTIME;

private:
    static constexpr std::size_t mask = capacityFrames - 1;

    void dropOldest(std::size_t frameCount) noexcept;
    void keepLastFrame(const float* frame) noexcept;

    std::size_t channelCount_;
    std::unique_ptr<float[]> storage_;
    std::unique_ptr<float[]> lastFrame_;
    std::size_t readIndex_ = 0;
    std::size_t writeIndex_ = 0;
    std::size_t available_ = 0;
};

} // namespace vello
