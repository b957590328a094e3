// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <cstddef>
#include <memory>

namespace vello {

/// FIFO of interleaved frames between the input and the output side of one I/O callback, so that the two may
/// come in different sizes. Too much input drops the oldest frames; too little repeats the last frame that
/// was handed out, which clicks less than silence would. Used inside the callback only.
class IOFrameBridge {
public:
    static constexpr std::size_t capacityFrames = 8192;

    /// `channelCount` samples a frame; 0 counts as 1.
    explicit IOFrameBridge(std::size_t channelCount);

    std::size_t channelCount() const noexcept { return channelCount_; }
    /// Frames buffered.
    std::size_t available() const noexcept { return available_; }

    /// Appends frames; of more than the capacity only the newest.
    void write(const float* frames, std::size_t frameCount) noexcept VELLO_REALTIME;
    /// Takes frames out; missing ones repeat the last frame ever taken, or are zero when there was none.
    void read(float* destination, std::size_t frameCount) noexcept VELLO_REALTIME;
    /// Does what write() of `inputFrames` and then read() of `outputFrames` to `output` do, and returns where
    /// the frames are: in `output`, or still in `input` when they only pass through, which saves the copy.
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
