// SPDX-License-Identifier: Apache-2.0
#include "PipeWireStreamDirector.h"

#include "PipeWireGraph.h"
#include "TargetValues.h"

#include <utility>

namespace vello {

PipeWireStreamDirector::PipeWireStreamDirector(PipeWireGraph& graph, PropertyChanged propertyChanged,
                                               RedirectKeeper* keeper)
    : graph_(graph), propertyChanged_(std::move(propertyChanged)), keeper_(keeper), directed_(graph),
      rights_(graph, directed_),
      stale_(graph, [this](const GraphStream& stream) { return rights_.captureFor(stream) != nullptr; }) {}

void PipeWireStreamDirector::direct(PipeWireCapture capture) {
    rights_.addCapture(std::move(capture));
    reconsider();
}

void PipeWireStreamDirector::release(const std::string& captureName) {
    rights_.removeCapture(captureName);
    reconsider();
}

// One stream

void PipeWireStreamDirector::direct(std::uint32_t nodeID, const std::string& captureName) {
    const bool isFirst = !isDirecting();
    DirectedStream& stream = directed_.add(nodeID);
    stream.captureName = captureName;
    write(nodeID, stream);
    if (isFirst && onFirstDirected_)
        onFirstDirected_();
}

void PipeWireStreamDirector::write(std::uint32_t nodeID, DirectedStream& stream) {
    if (isGivenUp())
        return;
    if (keeper_ != nullptr)
        keeper_->directed(nodeID);
    graph_.metadata().setTarget(nodeID, kTargetObjectKey, targetByName(stream.captureName));
    // Our target makes the session manager forget the output that it had saved for this application. Writing
    // the target node again makes it save that output, while our target stays in force.
    if (stream.ownTargetNode)
        graph_.metadata().setTarget(nodeID, kTargetNodeKey,
                                    repeatedTargetNode(stream.ownTargetNode->value, stream.writes++));
}

void PipeWireStreamDirector::giveBack(std::uint32_t nodeID) {
    const auto stream = directed_.remove(nodeID);
    if (!stream || graph_.streams().withNodeID(nodeID) == nullptr)
        return;
    graph_.metadata().setTarget(nodeID, kTargetObjectKey, stream->ownTargetObject);
    // Written after ours is removed, so that the session manager saves the choice and not its absence.
    if (stream->ownTargetNode)
        graph_.metadata().setTarget(nodeID, kTargetNodeKey, stream->ownTargetNode);
    released(nodeID);
}

void PipeWireStreamDirector::released(std::uint32_t nodeID) {
    if (keeper_ != nullptr)
        keeper_->released(nodeID);
}

void PipeWireStreamDirector::reconsider() {
    for (const GraphStream* stream : graph_.streams().all())
        reconsider(*stream);
}

void PipeWireStreamDirector::reconsider(const GraphStream& stream) {
    if (!stream.isDescribed)
        return;
    const StreamExemption now = rights_.exemption(stream);
    noteExemption(stream, now);
    const PipeWireCapture* capture =
        now == StreamExemption::none ? rights_.captureOfProcess(stream) : nullptr;
    const DirectedStream* directed = directed_.find(stream.nodeID);
    if (capture == nullptr)
        giveBack(stream.nodeID);
    else if (directed == nullptr || directed->captureName != capture->name)
        direct(stream.nodeID, capture->name);
}

void PipeWireStreamDirector::noteExemption(const GraphStream& stream, StreamExemption now) {
    StreamExemption& reported = exemptions_[stream.nodeID];
    if (std::exchange(reported, now) == now)
        return;
    propertyChanged_(kAudioObjectSystemObject, kAudioHardwarePropertyExemptStreamList);
    if (const GraphClient* client = graph_.clients().ownerOf(stream))
        propertyChanged_(client->objectID, kAudioProcessPropertyIsRunningOutput);
}

// Changes of the graph

void PipeWireStreamDirector::streamDescribed(const GraphStream& stream) {
    const bool isNew = !exemptions_.contains(stream.nodeID);
    reconsider();
    announceDevices(stream);
    if (isNew && stale_.isStale(stream)) {
        stale_.takeBack();
        stale_.rewriteChoices();
    }
}

void PipeWireStreamDirector::streamRunningChanged(const GraphStream& stream) {
    reconsider();
    announceDevices(stream);
}

void PipeWireStreamDirector::streamVanished(std::uint32_t nodeID) {
    released(nodeID);
    directed_.remove(nodeID);
    const auto reported = exemptions_.extract(nodeID);
    if (reported && reported.mapped() != StreamExemption::none)
        propertyChanged_(kAudioObjectSystemObject, kAudioHardwarePropertyExemptStreamList);
    reconsider();
}

void PipeWireStreamDirector::targetChanged(std::uint32_t nodeID, const std::string& key,
                                           const std::optional<MetadataValue>& value) {
    DirectedStream* stream = directed_.find(nodeID);
    if (stream == nullptr)
        return userMoved(nodeID);
    // While the streams are given up the guard removes the targets, not the user.
    if (!value && isGivenUp())
        return;
    if (!directed_.takeTarget(*stream, key, value))
        return;
    const GraphStream* moved = graph_.streams().withNodeID(nodeID);
    if (moved != nullptr && rights_.captureFor(*moved) != nullptr)
        write(nodeID, *stream);
    userMoved(nodeID);
}

void PipeWireStreamDirector::userMoved(std::uint32_t nodeID) {
    reconsider();
    if (const GraphStream* moved = graph_.streams().withNodeID(nodeID))
        announceDevices(*moved);
}

void PipeWireStreamDirector::announceDevices(const GraphStream& stream) {
    if (const GraphClient* client = graph_.clients().ownerOf(stream))
        propertyChanged_(client->objectID, kAudioProcessPropertyDevices);
}

void PipeWireStreamDirector::metadataKnown() {
    for (const GraphStream* stream : graph_.streams().all())
        if (const PipeWireCapture* capture = rights_.captureFor(*stream))
            direct(stream->nodeID, capture->name);
    stale_.takeBack();
    stale_.rewriteChoices();
}

void PipeWireStreamDirector::directAgain() {
    for (const std::uint32_t nodeID : directed_.nodeIDs())
        write(nodeID, *directed_.find(nodeID));
}

void PipeWireStreamDirector::reset() {
    for (const std::uint32_t nodeID : directed_.nodeIDs())
        released(nodeID);
    rights_.clearCaptures();
    directed_.clear();
    exemptions_.clear();
    stale_.clear();
}

} // namespace vello
