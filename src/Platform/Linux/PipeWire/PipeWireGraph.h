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

/// A value of the session manager's metadata, as it stands there.
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
    /// Hz; the last one known while the device is suspended.
    double sampleRate = 0;
    /// The server has told everything that a reader may ask.
    bool isDescribed = false;
};

/// How long a stream lets its samples wait: as many frames at that rate (Hz). The graph's quantum is the
/// least that a node of it asks for.
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
    std::string name; ///< what people read
    /// Of its own format, before the session manager has it mixed for a device; 0 where it has none.
    std::uint32_t channels = 0;
    std::optional<GraphLatency> latency; ///< that it asks for
    /// Why it is left as it is, as far as its own properties and format say.
    StreamExemption exemption = StreamExemption::none;
    /// The server has told everything that the two before depend on.
    bool isDescribed = false;
    bool isRunning = false;
    /// When it last left the running state.
    MainThread::Instant endedAt{};
    MainThread::Instant linksChangedAt{};
    bool isEndReported = true;
    /// The target that the application itself asks for, by name or serial.
    std::optional<std::string> targetProperty;
};

/// A client of the server; a process object while it owns at least one playback stream.
struct GraphClient {
    AudioObjectID objectID = 0;
    std::uint32_t clientID = 0;
    std::int32_t processID = -1;
    std::string applicationID;
    /// Streams of more than two channels are captured as two, also where the device would play them all.
    bool downmixes = false;
    bool isDescribed = false;
};

struct GraphLink {
    std::uint32_t outputNodeID = 0;
    std::uint32_t inputNodeID = 0;
};

/// Told of changes, on the control loop's thread with its lock held.
class PipeWireGraphObserver {
public:
    virtual ~PipeWireGraphObserver() = default;
    virtual void propertyChanged(AudioObjectID object, FourCharCode selector) = 0;
    /// The stream is described now, or is so in another way.
    virtual void streamDescribed(const GraphStream& stream) = 0;
    virtual void streamVanished(std::uint32_t nodeID) = 0;
    /// A stream began to run, or has stopped for good.
    virtual void streamRunningChanged(const GraphStream& stream) = 0;
    virtual void linksChanged() = 0;
    /// The session manager's metadata can be written; its current values follow. To be answered with
    /// PipeWireGraph::metadataAnswered when the server has answered everything that was asked until now.
    virtual void metadataRequested() = 0;
    /// The session manager has ended, and with it the metadata and every link that it made.
    virtual void sessionManagerGone() = 0;
    /// The target of a node changed in the metadata; `value` is empty when it was taken away.
    virtual void targetChanged(std::uint32_t nodeID, const std::string& key,
                               const std::optional<MetadataValue>& value) = 0;
};

inline constexpr char kTargetObjectKey[] = "target.object";
inline constexpr char kTargetNodeKey[] = "target.node";

/// The mirror of the server's registry: sinks, playback streams, their clients, links, and the metadata that
/// holds the default output and the streams' targets. The control loop's lock guards all of it.
class PipeWireGraph {
public:
    /// `nextObjectID` gives numbers that are never used again. `loop` is the control loop.
    PipeWireGraph(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                  pw_loop* loop);
    ~PipeWireGraph();
    PipeWireGraph(const PipeWireGraph&) = delete;
    PipeWireGraph& operator=(const PipeWireGraph&) = delete;

    void attach(pw_core* core);
    /// Forgets everything; every object is dead.
    void detach();

    /// Described sinks in the order in which they appeared.
    std::vector<const GraphSink*> sinks() const;
    const GraphSink* sink(AudioObjectID objectID) const;
    const GraphSink* sinkNamed(const std::string& name) const;
    /// The sink that a target names: a node's name, or its serial or node id in decimal, as the key demands.
    const GraphSink* sinkOfTarget(const std::string& key, const std::string& value) const;
    /// Null while there is no default output or its sink is unknown.
    const GraphSink* defaultSink() const;

    /// Clients that are process objects now, in the order in which they appeared: those that own a described
    /// stream which need not be left as it is.
    std::vector<const GraphClient*> processes() const;
    const GraphClient* process(AudioObjectID objectID) const;
    void setDownmix(AudioObjectID process, bool downmixes);
    const GraphClient* processOfStream(const GraphStream& stream) const;
    /// In the order in which they appeared; so those of a client.
    std::vector<const GraphStream*> streams() const;
    std::vector<const GraphStream*> streamsOf(const GraphClient& client) const;
    const GraphStream* stream(std::uint32_t nodeID) const;
    const GraphStream* streamOfObject(AudioObjectID objectID) const;
    /// Whether the stream runs, or ran a moment ago and is only being linked anew.
    static bool isProducingOutput(const GraphStream& stream) {
        return stream.isRunning || !stream.isEndReported;
    }

    bool hasLinkInto(std::uint32_t nodeID) const;
    bool hasLinkOutOf(std::uint32_t nodeID) const;
    /// Whether the node plays into an output device.
    bool isLinkedToSink(std::uint32_t nodeID) const;
    /// Whether that many channels of the node are linked, or as many as the device has that they are linked
    /// to.
    bool hasLinksOutOf(std::uint32_t nodeID, std::uint32_t channels) const;

    std::optional<MetadataValue> target(std::uint32_t nodeID, const std::string& key) const;
    /// Whether the session manager has linked a node, which follows the default output, to another device.
    bool isLinkedToAnotherThanDefault(std::uint32_t nodeID) const;
    /// Asks for all values of the metadata soon: what the session manager does contradicts them.
    void doubtMetadata() { readMetadataAnewSoon(); }
    /// Asks for all values of the metadata again, in case a change was missed.
    void readMetadata();
    /// All current values of the metadata have been told. True when they are the first of this metadata
    /// object, and not a look at whether something was missed.
    bool metadataAnswered();
    /// Whether the answer is still to come.
    bool isMetadataBeingTold() const;
    /// Writes a node's target, or takes it away. Harmless while there is no metadata.
    void setTarget(std::uint32_t nodeID, const std::string& key, const std::optional<MetadataValue>& value);
    /// Whether the metadata never held anything for a node but its targets.
    bool hasOnlyTargets(std::uint32_t nodeID) const;
    /// Takes away everything that the metadata holds for a node.
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
    /// Whether the session manager links a stream to where no target known here sends it.
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
    /// A change of the metadata may have been missed; the timer runs.
    bool isMetadataDoubtful_ = false;
    std::unique_ptr<RegistryEntry> registry_;
    std::map<std::uint32_t, std::unique_ptr<SinkEntry>> sinks_;
    std::map<std::uint32_t, std::unique_ptr<StreamEntry>> streams_;
    std::map<std::uint32_t, std::unique_ptr<ClientEntry>> clients_;
    std::map<std::uint32_t, GraphLink> links_;
    /// The same by the node that plays and by the node that is played into: dozens of taps are looked up at
    /// every change of one of hundreds of links.
    std::multimap<std::uint32_t, std::uint32_t> inputsOfOutput_;
    std::multiset<std::uint32_t> linkedInputs_;
    std::unique_ptr<MetadataEntry> metadata_;
    std::string defaultSinkName_;
};

} // namespace vello
