// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/IOFrameBridge.h"

#include <algorithm>
#include <cstring>

namespace vello {

IOFrameBridge::IOFrameBridge(std::size_t channelCount)
    : channelCount_(std::max<std::size_t>(channelCount, 1)),
      storage_(std::make_unique<float[]>(capacityFrames * channelCount_)),
      lastFrame_(std::make_unique<float[]>(channelCount_)) {}

void IOFrameBridge::write(const float* frames, std::size_t frameCount) noexcept VELLO_REALTIME {
    if (frameCount < 1)
        return;
    const std::size_t toWrite = std::min(capacityFrames, frameCount);
    const float* source = frames + (frameCount - toWrite) * channelCount_;
    if (available_ + toWrite > capacityFrames)
        dropOldest(available_ + toWrite - capacityFrames);

    const std::size_t untilWrap = std::min(toWrite, capacityFrames - writeIndex_);
    const std::size_t frameBytes = channelCount_ * sizeof(float);
    std::memcpy(storage_.get() + writeIndex_ * channelCount_, source, untilWrap * frameBytes);
    std::memcpy(storage_.get(), source + untilWrap * channelCount_, (toWrite - untilWrap) * frameBytes);
    writeIndex_ = (writeIndex_ + toWrite) & mask;
    available_ += toWrite;
}

void IOFrameBridge::read(float* destination, std::size_t frameCount) noexcept VELLO_REALTIME {
    const std::size_t count = std::min(available_, frameCount);
    if (count >= 1) {
        const std::size_t untilWrap = std::min(count, capacityFrames - readIndex_);
        const std::size_t frameBytes = channelCount_ * sizeof(float);
        std::memcpy(destination, storage_.get() + readIndex_ * channelCount_, untilWrap * frameBytes);
        std::memcpy(destination + untilWrap * channelCount_, storage_.get(),
                    (count - untilWrap) * frameBytes);
        dropOldest(count);
        keepLastFrame(destination + (count - 1) * channelCount_);
    }
    // lastFrame_ is zero until the first frame has been read.
    for (std::size_t frame = count; frame < frameCount; ++frame)
        std::copy_n(lastFrame_.get(), channelCount_, destination + frame * channelCount_);
}

const float* IOFrameBridge::exchange(const float* input, std::size_t inputFrames, float* output,
                                     std::size_t outputFrames) noexcept VELLO_REALTIME {
    const bool passesThrough =
        available_ == 0 && inputFrames == outputFrames && inputFrames >= 1 && inputFrames <= capacityFrames;
    if (passesThrough) {
        writeIndex_ = (writeIndex_ + inputFrames) & mask;
        readIndex_ = writeIndex_;
        keepLastFrame(input + (inputFrames - 1) * channelCount_);
        return input;
    }
    write(input, inputFrames);
    read(output, outputFrames);
    return output;
}

void IOFrameBridge::dropOldest(std::size_t frameCount) noexcept {
    readIndex_ = (readIndex_ + frameCount) & mask;
    available_ -= frameCount;
}

void IOFrameBridge::keepLastFrame(const float* frame) noexcept {
    if (channelCount_ == 2) // nearly always: a copy of known length needs no call
        std::memcpy(lastFrame_.get(), frame, 2 * sizeof(float));
    else
        std::copy_n(frame, channelCount_, lastFrame_.get());
}

} // namespace vello
