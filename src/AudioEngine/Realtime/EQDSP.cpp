// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/EQDSP.h"

#include "AudioEngine/Realtime/DenormalsAreZero.h"
#include "AudioEngine/Realtime/HostTime.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace vello {

namespace {

constexpr float kSignalThreshold = 0.0001F;
constexpr std::uint32_t kInfinityBits = 0x7F800000;
constexpr std::uint32_t kFullScaleBits = std::bit_cast<std::uint32_t>(1.0F);

/// Zeroes the buffer starting at byte `offset`.
void silence(AudioBuffer& buffer, std::size_t offset = 0) noexcept {
    if (buffer.mData != nullptr && offset < buffer.mDataByteSize)
        std::memset(static_cast<std::byte*>(buffer.mData) + offset, 0, buffer.mDataByteSize - offset);
}

std::size_t sampleCount(const AudioBuffer& buffer) noexcept {
    return buffer.mDataByteSize / sizeof(float);
}

/// Moves the frames of the cycle through the bridge. Returns their location: in `output` or still in `input`.
const float* bridgeFrames(TapRealtimeContext& context, const AudioBuffer& input, float* output,
                          std::size_t outputFrames) noexcept {
    IOFrameBridge& bridge = context.rt->ioBridge;
    if (input.mData != nullptr)
        return bridge.exchange(static_cast<const float*>(input.mData),
                               sampleCount(input) / bridge.channelCount(), output, outputFrames);
    bridge.read(output, outputFrames);
    return output;
}

/// What the filters would have kept of an unfiltered block, so that they continue it when they are needed.
void keepHistories(std::vector<CascadeState>& states, const float* source, std::size_t frames) noexcept {
    const float* newest = source + (frames - 1) * states.size();
    for (std::size_t channel = 0; channel < states.size(); ++channel) {
        CascadeState& state = states[channel];
        const double before = frames > 1 ? double{newest[channel - states.size()]} : state.histories[0][0];
        std::ranges::fill(state.histories[1], before);
        std::ranges::fill(state.histories[0], double{newest[channel]});
        for (auto& differences : state.differences)
            std::ranges::fill(differences, 0.0);
    }
}

/// Applies filters and volume; returns the bits of the peak.
std::uint32_t runFilters(TapRealtimeContext& context, const float* source, float* destination,
                         std::size_t frames) noexcept {
    auto& rt = *context.rt;
    const float target = std::bit_cast<float>(context.volumeTargetBits.load(std::memory_order_relaxed));
    const float current = std::exchange(rt.currentVolume, target);
    const float gainStep = (target - current) / static_cast<float>(frames);
    const std::size_t channels = rt.ioBridge.channelCount();
    const DenormalsAreZero denormalsAreZero;
    rt.filters.follow(context.snapshotPointer.load(std::memory_order_acquire));
    std::uint32_t peak = 0;
    for (std::size_t first = 0; first < frames;) {
        const FilterRamp::Stretch stretch = rt.filters.next(frames - first);
        const BlockJob job{.source = source + first * channels,
                           .destination = destination + first * channels,
                           .frames = stretch.frames,
                           .channelCount = channels,
                           .setup = stretch.setup,
                           .states = rt.delays.data(),
                           .scratch = rt.scratch,
                           .appliesGain = current != target || target != 1.0F,
                           .gainStart = current + static_cast<float>(first) * gainStep,
                           .gainStep = gainStep};
        if (stretch.setup == nullptr)
            keepHistories(rt.delays, job.source, job.frames);
        peak = std::max(peak, rt.kernel(job));
        first += stretch.frames;
    }
    rt.filters.settle(rt.delays);
    return peak;
}

bool isSignal(std::uint32_t peakBits) noexcept {
    return std::bit_cast<float>(peakBits) > kSignalThreshold;
}

void publishLevel(TapRealtimeContext& context, std::uint32_t peakBits) noexcept {
    context.levelBits.store(peakBits, std::memory_order_relaxed);
    if (peakBits > kFullScaleBits) // positive floats are ordered like their bits
        context.lastClippedHostTime.store(context.lastCallbackHostTime.load(std::memory_order_relaxed),
                                          std::memory_order_relaxed);
    if (peakBits == 0) {
        context.zeroBufferStreak.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    context.zeroBufferStreak.store(0, std::memory_order_relaxed);
    if (isSignal(peakBits))
        context.hasCarriedSignal.store(1, std::memory_order_relaxed);
}

/// Processes the first buffers of the cycle. `output` need not be zeroed before.
void processBuffer(TapRealtimeContext& context, const AudioBuffer& input, AudioBuffer& output) noexcept {
    const std::size_t channels = context.rt->ioBridge.channelCount();
    const std::size_t frames = sampleCount(output) / channels;
    silence(output, frames * channels * sizeof(float));
    if (frames < 1)
        return;
    float* samples = static_cast<float*>(output.mData);
    const float* source = bridgeFrames(context, input, samples, frames);
    std::uint32_t peakBits = runFilters(context, source, samples, frames);
    if (peakBits > kInfinityBits) { // NaN: the filters have become unstable
        context.rt->resetFilters();
        silence(output);
        peakBits = 0;
    }
    publishLevel(context, peakBits);
    context.ringBuffer.write(samples, sampleCount(output), !isSignal(peakBits));
}

void silenceAndPassThrough(const AudioBufferList& input, AudioBufferList& output) noexcept {
    for (AudioBuffer& buffer : output.buffers())
        silence(buffer);
    eqByQUORVINRawPassthrough(input, output);
}

bool canProcess(const TapRealtimeContext& context, const AudioBufferList& input,
                const AudioBufferList& output) noexcept {
    return context.supportsEQ && input.mNumberBuffers >= 1 && output.mNumberBuffers >= 1 &&
           output.buffers()[0].mData != nullptr;
}

} // namespace

OSStatus eqByQUORVINProcessIOProc(AudioObjectID, const AudioBufferList* input, AudioBufferList* output,
                                  void* clientData) noexcept VELLO_REALTIME {
    if (clientData == nullptr) {
        silenceAndPassThrough(*input, *output);
        return kAudioHardwareNoError;
    }
    auto& context = *static_cast<TapRealtimeContext*>(clientData);
    context.lastCallbackHostTime.store(hostTime(), std::memory_order_relaxed);
    if (!canProcess(context, *input, *output)) {
        silenceAndPassThrough(*input, *output);
        return kAudioHardwareNoError;
    }
    for (AudioBuffer& buffer : output->buffers().subspan(1))
        silence(buffer);
    processBuffer(context, input->buffers()[0], output->buffers()[0]);
    return kAudioHardwareNoError;
}

void eqByQUORVINRawPassthrough(const AudioBufferList& input,
                               AudioBufferList& output) noexcept VELLO_REALTIME {
    const std::size_t count = std::min(input.mNumberBuffers, output.mNumberBuffers);
    for (std::size_t i = 0; i < count; ++i) {
        const AudioBuffer& from = input.buffers()[i];
        AudioBuffer& to = output.buffers()[i];
        if (from.mData != nullptr && to.mData != nullptr)
            std::memcpy(to.mData, from.mData, std::min(from.mDataByteSize, to.mDataByteSize));
    }
}

} // namespace vello
