// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireConnection.h"
#include "Recording.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <pipewire/stream.h>
#include <spa/node/io.h>

namespace vello::session {

/// Records what an output plays, from its monitor, cycle by cycle, without affecting the streams that play
/// into it. The output runs as long as the recorder exists.
class MonitorRecorder {
public:
    /// Returns when the first cycle has been recorded; throws std::runtime_error after five seconds without
    /// one. `capacity` limits the recording; later cycles are dropped and recording() throws. `channels`
    /// should match the output, so that nothing is mixed on the way.
    MonitorRecorder(const std::string& socket, const std::string& outputName,
                    std::chrono::seconds capacity = std::chrono::seconds(60), bool isRequired = true,
                    int channels = 2);
    ~MonitorRecorder();
    MonitorRecorder(const MonitorRecorder&) = delete;
    MonitorRecorder& operator=(const MonitorRecorder&) = delete;

    /// Frames recorded so far.
    std::size_t frames() const { return frames_.load(std::memory_order_acquire); }
    /// Waits for that many more frames; throws std::runtime_error on timeout.
    void record(std::size_t moreFrames, std::chrono::milliseconds timeout = std::chrono::seconds(20));
    /// Records until `predicate`, evaluated on the last `window` frames after every cycle, holds. Returns
    /// false on timeout.
    template <class Predicate>
    bool recordUntil(Predicate predicate, std::size_t window, std::chrono::milliseconds timeout) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!(frames() >= window && predicate(recording(frames() - window))))
            if (!awaitCycle(deadline))
                return false;
        return true;
    }
    /// The recording from the frame `first` on.
    Recording recording(std::size_t first = 0) const;

private:
    void process() noexcept;
    void keep(const float* samples, std::size_t frames) noexcept;
    bool awaitCycle(std::chrono::steady_clock::time_point deadline);
    static const pw_stream_events streamEvents;

    PipeWireConnection connection_;
    std::size_t channels_;
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
    int cycleEvent_ = -1;

    // Written by the data thread before it stores the two counters with release order.
    std::vector<float> samples_;
    std::vector<RecordedCycle> cycles_;
    std::atomic<std::size_t> frames_ = 0;
    std::atomic<std::size_t> cycleCount_ = 0;
    std::atomic<bool> isFull_ = false;
    std::atomic<int> rate_ = 0;
    std::atomic<const spa_io_position*> position_ = nullptr;
};

} // namespace vello::session
