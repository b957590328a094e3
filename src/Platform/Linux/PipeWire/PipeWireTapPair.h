// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"
#include "Platform/Linux/PipeWire/MissedCycles.h"
#include "Ports/AudioHardware.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <spa/utils/hook.h>

struct pw_core;
struct pw_stream;
struct spa_pod;

namespace vello {

class PipeWireGraph;

/// The two streams of one tap: a capture that the applications' streams are directed to, and a playback on
/// the output device. Both are scheduled in one graph cycle, so the tap adds no latency. The data thread
/// calls the I/O callback once a cycle with both buffers: interleaved 32-bit float, mono or stereo.
///
/// To the session manager the capture is a hidden device. A stream linked to it is therefore mixed to the
/// capture's channels as for any device, and the playback is mixed to the output's channels as any
/// application stream.
///
/// Made, used and destroyed with the control loop's lock held, except where a function says otherwise.
class PipeWireTapPair {
public:
    struct Description {
        std::string captureName;
        std::string playbackName;
        std::string group;          ///< unique to this pair
        std::string targetSink;     ///< node name; empty: follows the default output
        std::uint32_t channels = 2; ///< 1 or 2
        /// The latency that the captured streams request. A stream that is being moved does not count until
        /// it is linked. Without this request the graph's quantum would rise and fall within milliseconds,
        /// which can silence other players in the graph permanently (PipeWire 0.3.65).
        std::optional<GraphLatency> latency = {};
    };

    /// `missedCycles` counts those of all pairs and must outlive the object. `sampleRateChanged` runs on the
    /// control loop's thread with its lock held.
    PipeWireTapPair(pw_core* core, const Description& description, std::atomic<std::uint64_t>& missedCycles,
                    std::function<void()> sampleRateChanged);
    ~PipeWireTapPair();
    PipeWireTapPair(const PipeWireTapPair&) = delete;
    PipeWireTapPair& operator=(const PipeWireTapPair&) = delete;

    /// False when the server has rejected one of the streams.
    bool isConnected() const { return capture_ != nullptr && playback_ != nullptr; }
    /// Whether the server has given both streams their node IDs.
    bool hasNodes() const;
    std::uint32_t captureNodeID() const;
    std::uint32_t playbackNodeID() const;
    const std::string& captureName() const { return captureName_; }
    /// Whether all channels of the playback side are linked, or as many as the device has. A device may
    /// refuse one of two, and then the other link is removed again.
    bool isLinkedOut(const PipeWireGraph& graph) const;
    /// Whether a stream is linked to the capture side.
    bool isLinkedInto(const PipeWireGraph& graph) const;
    /// Negotiated rate of the playback side in Hz; 0 before the negotiation.
    double sampleRate() const { return sampleRate_; }

    /// A pair that is not active keeps its links, but the graph does not run it. Initially active.
    void setActive(bool isActive);
    /// What a mixer or patchbay shows as the name of both nodes.
    void setDescription(const std::string& description);
    /// Call when the streams request another latency.
    void setLatency(const GraphLatency& latency);

    /// The callback runs from the next cycle on, in place of the previous one, which does not run any more
    /// after this returns. Without a callback the output is silent.
    void start(AudioObjectID device, AudioDeviceIOProc proc, void* clientData);
    /// After this returns the callback does not run any more. Any thread, without the lock.
    void stop() noexcept;
    /// Replaces the function that the pair was made with.
    void setSampleRateChanged(std::function<void()> action) { sampleRateChanged_ = std::move(action); }

private:
    struct Callbacks;
    struct IOProc {
        AudioObjectID device = 0;
        AudioDeviceIOProc function = nullptr;
        void* clientData = nullptr;
    };

    pw_stream* makeCapture(pw_core* core, const Description& description);
    pw_stream* makePlayback(pw_core* core, const Description& description);
    void exchange(const IOProc* next) noexcept;
    /// The capture side has received its samples. The playback side processes them in the same cycle.
    void captured() noexcept;
    void countMissedCycles(std::uint32_t frames) noexcept;
    void process() noexcept;
    void formatKnown(const spa_pod* format);

    std::function<void()> sampleRateChanged_;
    std::string captureName_;
    std::uint32_t channels_;
    pw_stream* capture_ = nullptr;
    pw_stream* playback_ = nullptr;
    spa_hook captureHook_{};
    spa_hook playbackHook_{};
    double sampleRate_ = 0;
    /// Cycles captured since the playback side processed one. Used by the data thread only.
    int cyclesWaiting_ = 0;
    MissedCycles missedCycles_;

    // The callback in use, and the one before it. Both atomics are sequentially consistent: exchange() writes
    // one and then waits for the other; process() sets the other and then reads the first. So at least one of
    // them sees the other's write.
    std::array<IOProc, 2> procs_;
    std::atomic<const IOProc*> current_{nullptr};
    std::atomic<bool> isInCallback_{false};
};

} // namespace vello
