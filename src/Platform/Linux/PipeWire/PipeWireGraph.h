// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct pw_core;
struct pw_loop;
struct spa_dict;
struct spa_source;

namespace vello {

/// A value of the session manager's metadata, as stored there.
struct MetadataValue {
    std::string type;
    std::string value;

    friend bool operator==(const MetadataValue&, const MetadataValue&) = default;
};

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
};

/// A client of the server. It is a process object while it owns at least one playback stream.
struct GraphClient {
    AudioObjectID objectID = 0;
    std::uint32_t clientID = 0;
    std::int32_t processID = -1;
    std::string applicationID;
    /// Streams of more than two channels are captured as stereo, even when the device could play all
    /// channels.
    bool downmixes = false;
    bool isDescribed = false;
};

struct GraphLink {
    std::uint32_t outputNodeID = 0;
    std::uint32_t inputNodeID = 0;
};

/// Notified of changes, on the control loop's thread with its lock held.
class PipeWireGraphObserver {
public:
    virtual ~PipeWireGraphObserver() = default;
    virtual void propertyChanged(AudioObjectID object, FourCharCode selector) = 0;
    /// The stream became described, or its description changed.
    virtual void streamDescribed(const GraphStream& stream) = 0;
    virtual void streamVanished(std::uint32_t nodeID) = 0;
    /// A stream started to run, or has stopped for longer than a relink takes.
    virtual void streamRunningChanged(const GraphStream& stream) = 0;
    virtual void linksChanged() = 0;
    /// The metadata can be written, and its current values follow. Respond with
    /// PipeWireGraph::metadataAnswered once the server has answered all requests sent so far.
    virtual void metadataRequested() = 0;
    /// The session manager has ended, and with it the metadata and every link that it had made.
    virtual void sessionManagerGone() = 0;
    /// The target of a node changed in the metadata; `value` is absent when the target was removed.
    virtual void targetChanged(std::uint32_t nodeID, const std::string& key,
                               const std::optional<MetadataValue>& value) = 0;
};

inline constexpr char kTargetObjectKey[] = "target.object";
inline constexpr char kTargetNodeKey[] = "target.node";

/// A mirror of the server's registry: sinks, playback streams, their clients, links, and the metadata with
/// the default output and the streams' targets. The control loop's lock guards all of it.
class PipeWireGraph {
public:
    /// `nextObjectID` returns numbers that are never reused. `loop` is the control loop.
    PipeWireGraph(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                  pw_loop* loop);
    ~PipeWireGraph();
    PipeWireGraph(const PipeWireGraph&) = delete;
    PipeWireGraph& operator=(const PipeWireGraph&) = delete;

    void attach(pw_core* core);
    /// Drops all objects; all their IDs become invalid.
    void detach();

    /// Described sinks in order of appearance.
    std::vector<const GraphSink*> sinks() const;
    const GraphSink* sink(AudioObjectID objectID) const;
    const GraphSink* sinkNamed(const std::string& name) const;
    /// The sink that a target refers to: by node name or by serial or node ID in decimal, depending on the
    /// key.
    const GraphSink* sinkOfTarget(const std::string& key, const std::string& value) const;
    /// Null while there is no default output or its sink is not known.
    const GraphSink* defaultSink() const;

    /// Clients that are process objects now, in order of appearance: those that own a described stream that
    /// need not be left untouched.
    std::vector<const GraphClient*> processes() const;
    const GraphClient* process(AudioObjectID objectID) const;
    void setDownmix(AudioObjectID process, bool downmixes);
    const GraphClient* processOfStream(const GraphStream& stream) const;
    /// All streams in order of appearance; streamsOf() uses the same order.
    std::vector<const GraphStream*> streams() const;
    std::vector<const GraphStream*> streamsOf(const GraphClient& client) const;
    const GraphStream* stream(std::uint32_t nodeID) const;
    const GraphStream* streamOfObject(AudioObjectID objectID) const;
    /// Whether the stream runs, or stopped so recently that it may only be in the middle of a relink.
    static bool isProducingOutput(const GraphStream& stream) {
        return stream.isRunning || !stream.isEndReported;
    }

    bool hasLinkInto(std::uint32_t nodeID) const;
    bool hasLinkOutOf(std::uint32_t nodeID) const;
    /// Whether the node is linked to an output device.
    bool isLinkedToSink(std::uint32_t nodeID) const;
    /// Whether `channels` of the node's channels are linked, or all channels of the linked device if it has
    /// fewer.
    bool hasLinksOutOf(std::uint32_t nodeID, std::uint32_t channels) const;

    std::optional<MetadataValue> target(std::uint32_t nodeID, const std::string& key) const;
    /// Whether the session manager has linked a node that follows the default output to another device.
    bool isLinkedToAnotherThanDefault(std::uint32_t nodeID) const;
    /// Schedules a new read of all metadata values, because the session manager's links contradict them.
    void doubtMetadata() { readMetadataAnewSoon(); }
    /// Requests all metadata values again, in case a change was missed.
    void readMetadata();
    /// Call when all current metadata values have arrived. Returns true for the first complete read of this
    /// metadata object, false for a later check.
    bool metadataAnswered();
    /// Whether a read of the metadata is in progress.
    bool isMetadataBeingTold() const;
    /// Writes or removes a node's target. Does nothing while there is no metadata.
    void setTarget(std::uint32_t nodeID, const std::string& key, const std::optional<MetadataValue>& value);
    /// Whether the metadata never held any key but targets for a node.
    bool hasOnlyTargets(std::uint32_t nodeID) const;
    /// Removes all metadata of a node.
    void clearMetadata(std::uint32_t nodeID);

private:
    struct Callbacks;
    struct SinkEntry;
    struct StreamEntry;
    struct ClientEntry;
    struct MetadataEntry;
    struct RegistryEntry;

    void globalAdded(std::uint32_t id, const char* type, const spa_dict& properties);
    void globalRemoved(std::uint32_t id);
    void clientAdded(std::uint32_t id, const spa_dict& properties);
    void clientDescribed(ClientEntry& client, const spa_dict& properties);
    void linkAdded(std::uint32_t id, const spa_dict& properties);
    void linkRemoved(std::uint32_t id);
    void linkChanged(const GraphLink& link);
    void streamAdded(std::uint32_t id, const spa_dict& properties);
    void streamRemoved(std::uint32_t id);
    void streamPropertiesKnown(StreamEntry& stream, const spa_dict& properties);
    void streamFormatKnown(StreamEntry& stream, bool isRaw, std::uint32_t channels);
    void streamHasNoFormat(StreamEntry& stream);
    void describe(StreamEntry& stream);
    void listChanged(const GraphClient& client, bool wasListed);
    void streamStateChanged(StreamEntry& stream, bool isRunning);
    void reportEndedStreams();
    void startEndedStreamsTimer();
    bool isBeingLinked(const GraphStream& stream) const;
    void sinkAdded(std::uint32_t id, const spa_dict& properties);
    void sinkRemoved(std::uint32_t id);
    void sinkDescribed(SinkEntry& sink, const spa_dict& properties);
    void sinkFormatKnown(SinkEntry& sink, double sampleRate, std::uint32_t channels);
    void metadataAdded(std::uint32_t id);
    void metadataRemoved();
    void metadataChanged(std::uint32_t subject, const char* key, const char* type, const char* value);
    void targetTold(std::uint32_t subject, const std::string& key, const std::optional<MetadataValue>& value);
    void readMetadataAnewSoon();
    void readDoubtfulMetadata();
    /// Whether a link sends a stream to a place that no known target explains.
    bool contradictsMetadata(const GraphLink& link) const;
    void defaultSinkNamed(std::string name);
    void reportRunning(const GraphStream& stream);
    bool isListed(const GraphClient& client) const;
    template <class Predicate> std::vector<const GraphStream*> streamsWhere(Predicate matches) const;

    PipeWireGraphObserver& observer_;
    std::function<AudioObjectID()> nextObjectID_;
    pw_loop* loop_;
    spa_source* endedStreamsTimer_ = nullptr;
    spa_source* metadataTimer_ = nullptr;
    /// a change of the metadata may have been missed; the timer is armed
    bool isMetadataDoubtful_ = false;
    std::unique_ptr<RegistryEntry> registry_;
    std::map<std::uint32_t, std::unique_ptr<SinkEntry>> sinks_;
    std::map<std::uint32_t, std::unique_ptr<StreamEntry>> streams_;
    std::map<std::uint32_t, std::unique_ptr<ClientEntry>> clients_;
    std::map<std::uint32_t, GraphLink> links_;
    /// The same links, indexed by output node and by input node: dozens of taps are looked up at each change
    /// of hundreds of links.
    std::multimap<std::uint32_t, std::uint32_t> inputsOfOutput_;
    std::multiset<std::uint32_t> linkedInputs_;
    std::unique_ptr<MetadataEntry> metadata_;
    std::string defaultSinkName_;
};

} // namespace vello
