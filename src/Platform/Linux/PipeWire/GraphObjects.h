// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace vello {

/// An output device: a node of class Audio/Sink or Audio/Duplex.
struct GraphSink {
    AudioObjectID objectID = 0;
    std::uint32_t nodeID = 0;
    std::string serial;
    std::string name;
    std::string description;
    FourCharCode transport = 0;
    std::uint32_t channels = 2;
    /// In Hz; the last known rate while the device is suspended.
    double sampleRate = 0;
    /// The server has sent all information that readers use.
    bool isDescribed = false;
};

/// The latency that a stream requests: `frames` at `rate` (Hz). The graph's quantum follows the lowest
/// latency that any of its nodes requests.
struct GraphLatency {
    std::uint32_t frames = 0;
    std::uint32_t rate = 1;

    friend bool operator==(const GraphLatency&, const GraphLatency&) = default;
    friend bool operator<(const GraphLatency& left, const GraphLatency& right) {
        return std::uint64_t{left.frames} * right.rate < std::uint64_t{right.frames} * left.rate;
    }
};

/// A playback stream of an application: a node of class Stream/Output/Audio.
struct GraphStream {
    AudioObjectID objectID = 0;
    std::uint32_t nodeID = 0;
    std::uint32_t clientID = 0;
    std::string name; ///< the name shown to the user
    /// Channels of the stream's own format, before the session manager mixes it for a device; 0 when unknown.
    std::uint32_t channels = 0;
    std::optional<GraphLatency> latency; ///< requested by the stream
    /// Why the stream is left untouched, according to its own properties and format only.
    StreamExemption exemption = StreamExemption::none;
    /// The server has sent everything that `channels` and `exemption` depend on.
    bool isDescribed = false;
    bool isRunning = false;
    /// Time when the stream last left the running state.
    MainThread::Instant endedAt{};
    MainThread::Instant linksChangedAt{};
    bool isEndReported = true;
    /// The target that the application itself requests, by name or serial.
    std::optional<std::string> targetProperty;

    /// Whether the stream runs, or stopped so recently that it may only be in the middle of a relink.
    bool isProducingOutput() const { return isRunning || !isEndReported; }
};

/// A client of the server. It is a process object while it owns at least one playback stream whose own
/// properties and format do not exempt it.
struct GraphClient {
    AudioObjectID objectID = 0;
    std::uint32_t clientID = 0;
    std::int32_t processID = -1;
    std::string applicationID;
    /// Streams of more than two channels are captured as stereo, even when the device could play all
    /// channels.
    bool downmixes = false;
    bool isDescribed = false;
    /// Node IDs of its described streams whose own properties and format do not exempt them.
    std::set<std::uint32_t> movableStreams;

    bool isProcess() const { return isDescribed && !movableStreams.empty(); }
};

struct GraphLink {
    std::uint32_t outputNodeID = 0;
    std::uint32_t inputNodeID = 0;
};

/// A value of the session manager's metadata, as stored there.
struct MetadataValue {
    std::string type;
    std::string value;

    friend bool operator==(const MetadataValue&, const MetadataValue&) = default;
};

/// The metadata's keys for the output of a stream: by node name or serial, and by node ID.
inline constexpr char kTargetObjectKey[] = "target.object";
inline constexpr char kTargetNodeKey[] = "target.node";
/// The metadata's key for the default output.
inline constexpr char kDefaultSinkKey[] = "default.audio.sink";

} // namespace vello
