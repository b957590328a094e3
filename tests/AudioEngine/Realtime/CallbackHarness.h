// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/EQDSP.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vello::test {

/// Runs a tap's callback with one input and one output stream.
class CallbackHarness {
public:
    explicit CallbackHarness(int channels = 2, float initialVolume = 1.0F, bool supportsEQ = true)
        : context(supportsEQ, channels, initialVolume),
          channels_(static_cast<std::uint32_t>(context.channelCount)) {}
    /// Continues another context.
    explicit CallbackHarness(std::shared_ptr<TapRealtimeContext::Realtime> continued, float volume = 1.0F)
        : context(std::move(continued), volume), channels_(static_cast<std::uint32_t>(context.channelCount)) {
    }

    /// Publishes a curve. Keeps earlier snapshots alive, like the control side.
    void publish(const EQSettings& settings, double sampleRate = 48000) {
        snapshots_.push_back(std::make_unique<EQChainSnapshot>(settings, sampleRate));
        context.snapshotPointer.store(snapshots_.back().get(), std::memory_order_release);
    }

    /// Runs one cycle with the same number of input and output frames.
    std::vector<float> process(std::vector<float> captured) {
        const std::size_t frames = captured.size() / channels_;
        return process(std::move(captured), frames);
    }
    /// Runs one cycle with `outputFrames` output frames. The output buffer initially holds garbage.
    std::vector<float> process(std::vector<float> captured, std::size_t outputFrames) {
        captured_ = std::move(captured);
        std::vector<float> played(outputFrames * channels_, 77.0F);
        run(captured_.data(), captured_.size() * sizeof(float), played.data(), played.size() * sizeof(float));
        return played;
    }
    /// Runs one cycle without input.
    std::vector<float> processNothing(std::size_t outputFrames) {
        std::vector<float> played(outputFrames * channels_, 77.0F);
        run(nullptr, 0, played.data(), played.size() * sizeof(float));
        return played;
    }
    OSStatus run(void* input, std::size_t inputBytes, void* output, std::size_t outputBytes) noexcept {
        AudioBufferListStorage<1> captured{{1}, {{channels_, static_cast<std::uint32_t>(inputBytes), input}}};
        AudioBufferListStorage<1> played{{1}, {{channels_, static_cast<std::uint32_t>(outputBytes), output}}};
        return eqByQUORVINProcessIOProc(5, &captured.list, &played.list, &context);
    }

    std::uint32_t zeroBufferStreak() const { return context.zeroBufferStreak.load(); }
    bool hasCarriedSignal() const { return context.hasCarriedSignal.load() != 0; }

    TapRealtimeContext context;

private:
    std::uint32_t channels_;
    std::vector<float> captured_;
    std::vector<std::unique_ptr<EQChainSnapshot>> snapshots_;
};

} // namespace vello::test
