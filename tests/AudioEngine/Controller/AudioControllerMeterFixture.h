// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioControllerFixture.h"

#include "AudioEngine/Realtime/HostTime.h"
#include "support/MusicSupport.h"

namespace vello {

inline constexpr auto kTick = std::chrono::milliseconds(33);

/// "player" and "browser" play, their callbacks run and the meters are updated.
struct ControllerMeters : Controller {
    void startMeters() {
        startWithBoth();
        controller->startMeterUpdates();
    }
    void tick(int count = 1) {
        for (int i = 0; i < count; ++i) {
            for (const auto& [id, tap] : controller->taps())
                if (tap->realtimeContext())
                    tap->realtimeContext()->lastCallbackHostTime = hostTime(mainThread.now());
            mainThread.advance(kTick);
        }
    }
    /// Runs the ticks that end within `duration` from now.
    void ticksWithin(std::chrono::milliseconds duration) { tick(static_cast<int>(duration / kTick)); }
    const AudioController::Levels& levels() const { return controller->levels().value(); }
    const SpectrumAnalyzer::Levels& spectrum() const { return controller->spectrum().value(); }
    AudioSampleRingBuffer& ring(const std::string& id) const { return context(id).ringBuffer; }
    int beats(const std::string& id) const {
        return controller->tempo(id).value_or(TempoEstimate{}).beatsPerMinute;
    }
    /// Writes a beat to the ring of "player" and waits until the meters have found it.
    void findTheBeat() {
        startMeters();
        writeClicksAt120(ring("player"), 6);
        setLevel("player", 0.5F);
        tick();
        ASSERT_EQ(beats("player"), 120);
    }
};

} // namespace vello
