// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/EQDSP.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vello::test {

/// A tap's callback with the buffers of a device, one stream each way.
class CallbackHarness {
public:
    explicit CallbackHarness(int channels = 2, float initialVolume = 1.0F, bool supportsEQ = true)
        : context(supportsEQ, channels, initialVolume),
          channels_(static_cast<std::uint32_t>(context.channelCount)) {}

    /// Publishes a curve; earlier ones stay alive as the control side would keep them.
    void publish(const EQSettings& settings, double sampleRate = 48000) {
        snapshots_.push_back(std::make_unique<EQChainSnapshot>(settings, sampleRate));
        context.snapshotPointer.store(snapshots_.back().get(), std::memory_order_release);
    }

    /// One cycle with as many frames out as in.
    std::vector<float> process(std::vector<float> captured) {
        const std::size_t frames = captured.size() / channels_;
        return process(std::move(captured), frames);
    }
    /// One cycle with `outputFrames` out; the device's buffer holds rubbish before.
    std::vector<float> process(std::vector<float> captured, std::size_t outputFrames) {
        captured_ = std::move(captured);
        std::vector<float> played(outputFrames * channels_, 77.0F);
        run(captured_.data(), captured_.size() * sizeof(float), played.data(), played.size() * sizeof(float));
        return played;
    }
    /// One cycle without input.
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
