// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraph.h"
#include "RedirectKeeper.h"

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
    /// `ownTargetChanged` is told the process object whose stream the user moved meanwhile. `keeper`, if any,
    /// is told what is directed, and can have it given up for a while.
    PipeWireStreamDirector(PipeWireGraph& graph, std::function<void(AudioObjectID process)> ownTargetChanged,
                           RedirectKeeper* keeper = nullptr);

    /// Directs every stream of the processes, those that appear later too, to the node with this name. Of
    /// several captures of one process the newest has its streams.
    void direct(const std::string& captureName, std::vector<AudioObjectID> processes);
    /// Gives the streams that are still directed to this capture to the newest other one of their process, or
    /// back.
    void release(const std::string& captureName);
    /// Whether a stream that exists is directed to this capture; its link may still be on its way.
    bool hasStreams(const std::string& captureName) const;

    /// The device that a stream plays to by its own choice; null when it follows the default output.
    const GraphSink* ownTarget(const GraphStream& stream) const;

    void streamAppeared(const GraphStream& stream);
    void streamVanished(std::uint32_t nodeID);
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
    struct Capture {
        std::string name;
        std::vector<AudioObjectID> processes;
    };
    struct DirectedStream {
        std::string captureName;
        std::optional<MetadataValue> ownTargetObject;
        std::optional<MetadataValue> ownTargetNode;
        /// Counts our own writes of the target node.
        unsigned writes = 0;
    };

    const Capture* captureFor(const GraphStream& stream) const;
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
    void userMoved(std::uint32_t nodeID, DirectedStream& stream);
    bool isGivenUp() const { return keeper_ != nullptr && keeper_->isGivenUp(); }
    void released(std::uint32_t nodeID);

    PipeWireGraph& graph_;
    std::function<void(AudioObjectID)> ownTargetChanged_;
    RedirectKeeper* keeper_;
    std::vector<Capture> captures_;
    std::map<std::uint32_t, DirectedStream> directed_;
    /// Target nodes of streams that were taken back.
    std::map<std::uint32_t, MetadataValue> choices_;
};

} // namespace vello
