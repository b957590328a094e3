// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include "Foundation/Precondition.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace vello {

namespace {

/// Room that stays when the memory is released.
constexpr std::size_t kKeptSamples = 32768;

std::size_t checkedCapacity(std::size_t capacity) {
    precondition(std::has_single_bit(capacity), "capacity of a sample ring is a power of two");
    return capacity;
}

} // namespace

AudioSampleRingBuffer::AudioSampleRingBuffer(std::size_t capacityPowerOfTwo)
    : AudioSampleRingBuffer(SampleMemory(checkedCapacity(capacityPowerOfTwo))) {}

AudioSampleRingBuffer::AudioSampleRingBuffer(SampleMemory memory)
    : capacity_(checkedCapacity(memory.count())), mask_(capacity_ - 1), storage_(std::move(memory)) {}

void AudioSampleRingBuffer::write(const float* samples, std::size_t count) noexcept VELLO_REALTIME {
    if (count < 1 || count > capacity_)
        return;
    const std::size_t cursor = writeCursor_.load(std::memory_order_relaxed);
    const std::size_t position = cursor & mask_;
    const std::size_t untilWrap = std::min(count, capacity_ - position);
    std::memcpy(storage_.get() + position, samples, untilWrap * sizeof(float));
    if (untilWrap < count)
        std::memcpy(storage_.get(), samples + untilWrap, (count - untilWrap) * sizeof(float));
    writeCursor_.store(cursor + count, std::memory_order_release);
}

void AudioSampleRingBuffer::write(const float* samples, std::size_t count,
                                  bool isSilent) noexcept VELLO_REALTIME {
    if (isSilent && isResting_.load(std::memory_order_relaxed))
        return;
    if (!isSilent)
        isResting_.store(false, std::memory_order_relaxed);
    write(samples, count);
}

void AudioSampleRingBuffer::rest() noexcept {
    isResting_.store(true, std::memory_order_relaxed);
    const std::size_t kept = std::min(kKeptSamples, capacity_);
    const std::size_t first = (writeCursor() + kept) & mask_; // behind the room for the writer
    const std::size_t count = capacity_ - kept;
    const std::size_t untilWrap = std::min(count, capacity_ - first);
    storage_.release(first, untilWrap);
    storage_.release(0, count - untilWrap);
}

void AudioSampleRingBuffer::endRest() noexcept {
    isResting_.store(false, std::memory_order_relaxed);
    storage_.populate();
}

std::optional<AudioSampleRingBuffer::Samples>
AudioSampleRingBuffer::latest(std::size_t count) const noexcept {
    const std::size_t cursor = writeCursor();
    return count <= cursor ? range(cursor - count, count) : std::nullopt;
}

std::optional<AudioSampleRingBuffer::Samples> AudioSampleRingBuffer::range(std::size_t first,
                                                                           std::size_t count) const noexcept {
    const std::size_t cursor = writeCursor();
    if (count < 1 || count > capacity_ || count > cursor || first > cursor - count)
        return std::nullopt;
    const std::size_t position = first & mask_;
    const std::size_t untilWrap = std::min(count, capacity_ - position);
    return Samples{{storage_.get() + position, untilWrap}, {storage_.get(), count - untilWrap}};
}

bool AudioSampleRingBuffer::copyLatest(float* destination, std::size_t count) const noexcept {
    const auto samples = latest(count);
    if (!samples || destination == nullptr)
        return false;
    std::ranges::copy(samples->newer, std::ranges::copy(samples->older, destination).out);
    return true;
}

} // namespace vello
