// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraph.h"
#include "Platform/Linux/PipeWire/RedirectKeeper.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// Directs the playback streams of processes to captures, through the session manager's metadata, and
/// restores them.
///
/// A stream's own target (the output that the user chose in a mixer, or that the session manager restored) is
/// kept, written again beside ours where the session manager would otherwise forget it, and restored on
/// release. The control loop's lock guards all of it.
class PipeWireStreamDirector {
public:
    using PropertyChanged = std::function<void(AudioObjectID, FourCharCode selector)>;
    struct Capture {
        std::string name; ///< of the node
        std::vector<AudioObjectID> processes;
        std::string output; ///< node name of the device that the capture plays on
        /// The user chose that device for all streams of the processes; otherwise the capture plays where the
        /// application plays.
        bool isOutputChosen = false;
        /// The capture plays on the current default output.
        bool followsDefault = false;
    };

    /// `propertyChanged` is called for changes of the processes and of the exempt streams. `keeper` may be
    /// null; it records which streams are directed, and can suspend the redirects.
    PipeWireStreamDirector(PipeWireGraph& graph, PropertyChanged propertyChanged,
                           RedirectKeeper* keeper = nullptr);

    /// Directs all current and future streams of the processes to the capture, except exempt ones. When a
    /// process has several captures, the newest one receives its streams.
    void direct(Capture capture);
    /// Moves the streams that are still directed to this capture to the newest other capture of their
    /// process, or restores them.
    void release(const std::string& captureName);
    /// Whether an existing stream is directed to this capture, linked or not.
    bool hasStreams(const std::string& captureName) const;

    /// The device that the stream itself or its user has chosen; null when it follows the default output.
    const GraphSink* ownTarget(const GraphStream& stream) const;
    /// The device that a stream plays on, or would play on, without us; null without any output.
    const GraphSink* destination(const GraphStream& stream) const;
    /// The streams of a process that are not exempt by themselves; streams that produce output come first.
    std::vector<const GraphStream*> streamsOf(const GraphClient& client) const;
    bool isProducingOutput(const GraphClient& client) const;
    /// Why the stream is left untouched.
    StreamExemption exemption(const GraphStream& stream) const;

    void streamDescribed(const GraphStream& stream);
    void streamRunningChanged(const GraphStream& stream);
    void streamVanished(std::uint32_t nodeID);
    /// Call when something changes that exemptions or destinations depend on, such as the outputs.
    void reconsider();
    void targetChanged(std::uint32_t nodeID, const std::string& key,
                       const std::optional<MetadataValue>& value);
    /// Call when all metadata has been read. Removes the redirects of a previous run that died, and directs
    /// again what the session manager has forgotten.
    void metadataKnown();
    /// Streams that are directed to a capture of a run that died: those with such a target in the metadata,
    /// and those of `directed` without any target in it.
    std::vector<std::uint32_t> staleStreams(const std::vector<std::uint32_t>& directed = {}) const;
    /// Removes the redirects of a run that died, as fast as the session manager can move the streams. Call
    /// rewriteChoices after the session manager has processed this.
    void takeBackStale() { takeBack(staleStreams()); }
    /// Removes the redirects of the streams of these nodes.
    void takeBack(const std::vector<std::uint32_t>& nodeIDs);
    /// Makes the session manager save the users' choices again, which it forgot because of our redirects.
    void rewriteChoices();
    /// Call when the guard has finished restoring the streams: directs them again.
    void directAgain();
    /// Call when the connection is lost, and all streams with it.
    void reset();

private:
    struct DirectedStream {
        std::string captureName;
        std::optional<MetadataValue> ownTargetObject;
        std::optional<MetadataValue> ownTargetNode;
        /// Number of our own writes of the target node.
        unsigned writes = 0;
    };

    /// The newest capture of the stream's process.
    const Capture* captureOfProcess(const GraphStream& stream) const;
    /// The capture that the stream must be directed to.
    const Capture* captureFor(const GraphStream& stream) const;
    /// Why the stream is left untouched, regardless of where its application's tap plays.
    StreamExemption ownExemption(const GraphStream& stream) const;
    bool isPinnedElsewhere(const GraphStream& stream) const;
    const GraphSink* deviceOf(const Capture& capture) const;
    /// Whether this is the first stream of the capture's processes; the next capture plays on its device.
    bool isFollowed(const GraphStream& stream, const Capture& capture) const;
    void reconsider(const GraphStream& stream);
    void noteExemption(const GraphStream& stream, StreamExemption now);
    /// Whether the stream is directed to a capture of a run that died.
    bool isStale(const GraphStream& stream) const;
    /// Whether the stream plays at the right place without any metadata.
    bool needsNoTarget(const GraphStream& stream) const;
    /// Whether this target makes no difference to the stream.
    bool isWhereItGoesAnyway(const GraphStream& stream, const MetadataValue& targetNode) const;
    void direct(std::uint32_t nodeID, const std::string& captureName);
    void giveBack(std::uint32_t nodeID);
    void write(std::uint32_t nodeID, DirectedStream& stream);
    /// Derives the target node from the stream's own target object.
    void followTargetObject(DirectedStream& stream) const;
    void userMoved(std::uint32_t nodeID);
    void announceDevices(const GraphStream& stream);
    bool isGivenUp() const { return keeper_ != nullptr && keeper_->isGivenUp(); }
    void released(std::uint32_t nodeID);

    PipeWireGraph& graph_;
    PropertyChanged propertyChanged_;
    RedirectKeeper* keeper_;
    std::vector<Capture> captures_;
    std::map<std::uint32_t, DirectedStream> directed_;
    std::map<std::uint32_t, StreamExemption> exemptions_; ///< as last reported
    /// Target nodes of streams whose redirects were removed.
    std::map<std::uint32_t, MetadataValue> choices_;
};

} // namespace vello
