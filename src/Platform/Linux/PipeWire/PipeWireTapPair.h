// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraph.h"
#include "Ports/AudioHardware.h"

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

/// The two streams of one tap: a capture that the applications' streams are directed to, and a playback on
/// the output device, scheduled in one graph cycle, so that the way through adds no latency. The data thread
/// calls the I/O callback once a cycle with both buffers: interleaved 32-bit float, mono or stereo.
///
/// To the session manager the capture is a device that nobody sees, so every stream that is linked to it
/// mixes itself to the capture's channels as it would for a device, and the playback mixes itself to those of
/// the output as an application would.
///
/// Made, used and destroyed with the control loop's lock held, except where a call says otherwise.
class PipeWireTapPair {
public:
    struct Description {
        std::string captureName;
        std::string playbackName;
        std::string group;          ///< unique to this pair
        std::string targetSink;     ///< node name; empty: follows the default output
        std::uint32_t channels = 2; ///< 1 or 2
        /// That the captured streams ask for. A stream that is moved asks for nothing until it is linked: the
        /// graph's quantum would rise and fall within milliseconds, which silences players for good that are
        /// in the graph meanwhile (PipeWire 0.3.65).
        std::optional<GraphLatency> latency = {};
    };

    /// `sampleRateChanged` runs on the control loop's thread with its lock held.
    PipeWireTapPair(pw_core* core, const Description& description, std::function<void()> sampleRateChanged);
    ~PipeWireTapPair();
    PipeWireTapPair(const PipeWireTapPair&) = delete;
    PipeWireTapPair& operator=(const PipeWireTapPair&) = delete;

    /// False when the server has refused one of the streams.
    bool isConnected() const { return capture_ != nullptr && playback_ != nullptr; }
    std::uint32_t captureNodeID() const;
    std::uint32_t playbackNodeID() const;
    /// Hz, of the playback side as negotiated; 0 until then.
    double sampleRate() const { return sampleRate_; }

    /// The streams ask for another latency now.
    void setLatency(const GraphLatency& latency);

    /// From the next cycle on the callback runs; before, the output is silent.
    void start(AudioObjectID device, AudioDeviceIOProc proc, void* clientData);
    /// After it has returned the callback neither runs nor will run. Any thread, without the lock.
    void stop() noexcept;

private:
    struct Callbacks;

    pw_stream* makeCapture(pw_core* core, const Description& description);
    pw_stream* makePlayback(pw_core* core, const Description& description);
    void process() noexcept;
    void formatKnown(const spa_pod* format);

    std::function<void()> sampleRateChanged_;
    std::uint32_t channels_;
    pw_stream* capture_ = nullptr;
    pw_stream* playback_ = nullptr;
    spa_hook captureHook_{};
    spa_hook playbackHook_{};
    double sampleRate_ = 0;

    // The callback and its arguments are written while `isStarted` is false and read while it is true. The
    // two flags are sequentially consistent: stop clears the one and then waits for the other, process sets
    // the other and then looks at the one, so that one of them always sees the other.
    AudioObjectID device_ = 0;
    AudioDeviceIOProc proc_ = nullptr;
    void* clientData_ = nullptr;
    std::atomic<bool> isStarted_{false};
    std::atomic<bool> isInCallback_{false};
};

} // namespace vello
