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

/// Directs the playback streams of processes to captures, through the session manager's metadata, and gives
/// them back.
///
/// What a stream had of its own there - the output that the user chose in a mixer, or that the session
/// manager restored - is kept, written back beside ours where the session manager would otherwise forget it,
/// and restored on release. The control loop's lock guards all of it.
class PipeWireStreamDirector {
public:
    using PropertyChanged = std::function<void(AudioObjectID, FourCharCode selector)>;
    struct Capture {
        std::string name; ///< of the node
        std::vector<AudioObjectID> processes;
        std::string output; ///< node name of the device that it plays on
        /// That device was chosen for all streams of the processes; otherwise it is where the application
        /// plays.
        bool isOutputChosen = false;
        /// It plays on whatever is the default output.
        bool followsDefault = false;
    };

    /// `propertyChanged` is told what changes of the processes, and that other streams are left as they are.
    /// `keeper`, if any, is told what is directed, and can have it given up for a while.
    PipeWireStreamDirector(PipeWireGraph& graph, PropertyChanged propertyChanged,
                           RedirectKeeper* keeper = nullptr);

    /// Directs every stream of the processes, those that appear later too, to the capture, unless it has to
    /// be left as it is. Of several captures of one process the newest has its streams.
    void direct(Capture capture);
    /// Gives the streams that are still directed to this capture to the newest other one of their process, or
    /// back.
    void release(const std::string& captureName);
    /// Whether a stream that exists is directed to this capture; its link may still be on its way.
    bool hasStreams(const std::string& captureName) const;

    /// The device that a stream plays to by its own choice; null when it follows the default output.
    const GraphSink* ownTarget(const GraphStream& stream) const;
    /// Where a stream plays, or would play, without us; null when there is no output at all.
    const GraphSink* destination(const GraphStream& stream) const;
    /// The streams of a process that count for it, those first that produce output.
    std::vector<const GraphStream*> streamsOf(const GraphClient& client) const;
    bool isProducingOutput(const GraphClient& client) const;
    /// Why the stream is left as it is.
    StreamExemption exemption(const GraphStream& stream) const;

    void streamDescribed(const GraphStream& stream);
    void streamRunningChanged(const GraphStream& stream);
    void streamVanished(std::uint32_t nodeID);
    /// Something changed that rights and places of streams depend on, such as the outputs.
    void reconsider();
    void targetChanged(std::uint32_t nodeID, const std::string& key,
                       const std::optional<MetadataValue>& value);
    /// The session manager has told all its metadata: takes away what a run that died left, and directs anew
    /// what the session manager has forgotten.
    void metadataKnown();
    /// Streams that are directed to a capture of a run that died: those that the metadata shows, and those of
    /// `directed` of which it shows nothing else.
    std::vector<std::uint32_t> staleStreams(const std::vector<std::uint32_t>& directed = {}) const;
    /// Takes away the redirects of a run that died, as fast as the session manager can move the streams. To
    /// be followed by rewriteChoices when it has heard of that.
    void takeBackStale() { takeBack(staleStreams()); }
    /// The same for the streams of these nodes.
    void takeBack(const std::vector<std::uint32_t>& nodeIDs);
    /// Has the session manager save the users' choices again, which it forgot with our redirects.
    void rewriteChoices();
    /// The streams were given up, and are no more: directs them anew.
    void directAgain();
    /// The connection is gone, and with it every stream.
    void reset();

private:
    struct DirectedStream {
        std::string captureName;
        std::optional<MetadataValue> ownTargetObject;
        std::optional<MetadataValue> ownTargetNode;
        /// Counts our own writes of the target node.
        unsigned writes = 0;
    };

    /// The newest capture of the stream's process.
    const Capture* captureOfProcess(const GraphStream& stream) const;
    /// The capture that the stream is to be directed to.
    const Capture* captureFor(const GraphStream& stream) const;
    /// Why the stream is left as it is wherever its application's tap plays.
    StreamExemption ownExemption(const GraphStream& stream) const;
    bool isPinnedElsewhere(const GraphStream& stream) const;
    const GraphSink* deviceOf(const Capture& capture) const;
    /// Whether it is the first stream of the capture's processes, whose device the next capture plays on.
    bool isFollowed(const GraphStream& stream, const Capture& capture) const;
    void reconsider(const GraphStream& stream);
    void noteExemption(const GraphStream& stream, StreamExemption now);
    /// Whether the stream is directed to a capture of a run that died.
    bool isStale(const GraphStream& stream) const;
    /// Whether the stream goes where it should without anything in the metadata.
    bool needsNoTarget(const GraphStream& stream) const;
    /// Whether this target changes nothing for the stream.
    bool isWhereItGoesAnyway(const GraphStream& stream, const MetadataValue& targetNode) const;
    void direct(std::uint32_t nodeID, const std::string& captureName);
    void giveBack(std::uint32_t nodeID);
    void write(std::uint32_t nodeID, DirectedStream& stream);
    /// The target node that says the same as the own target object.
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
    std::map<std::uint32_t, StreamExemption> exemptions_; ///< as last told
    /// Target nodes of streams that were taken back.
    std::map<std::uint32_t, MetadataValue> choices_;
};

} // namespace vello
