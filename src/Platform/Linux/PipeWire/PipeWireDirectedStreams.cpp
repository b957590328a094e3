// SPDX-License-Identifier: Apache-2.0
#include "PipeWireDirectedStreams.h"

#include "PipeWireGraph.h"
#include "TargetValues.h"

#include <algorithm>
#include <ranges>
#include <utility>

namespace vello {

namespace {

bool takeTargetNode(DirectedStream& stream, const std::optional<MetadataValue>& value) {
    const bool isKnown = value && stream.ownTargetNode && value->value == stream.ownTargetNode->value;
    if (isKnown || (value && isRepeated(*value)))
        return false;
    stream.ownTargetNode = value;
    // A target node without a target object is the newer choice; the session manager's older target object
    // would hide it.
    stream.ownTargetObject.reset();
    return true;
}

} // namespace

DirectedStream& PipeWireDirectedStreams::add(std::uint32_t nodeID) {
    auto [entry, isNew] = streams_.try_emplace(nodeID);
    DirectedStream& stream = entry->second;
    if (!isNew)
        return stream;
    stream.ownTargetObject = graph_.metadata().target(nodeID, kTargetObjectKey);
    if (namesACapture(stream.ownTargetObject))
        stream.ownTargetObject.reset();
    stream.ownTargetNode = asChosen(graph_.metadata().target(nodeID, kTargetNodeKey));
    followTargetObject(stream);
    return stream;
}

std::optional<DirectedStream> PipeWireDirectedStreams::remove(std::uint32_t nodeID) {
    auto removed = streams_.extract(nodeID);
    return removed ? std::optional(std::move(removed.mapped())) : std::nullopt;
}

bool PipeWireDirectedStreams::takeTarget(DirectedStream& stream, const std::string& key,
                                         const std::optional<MetadataValue>& value) const {
    return key == kTargetObjectKey ? takeTargetObject(stream, value) : takeTargetNode(stream, value);
}

bool PipeWireDirectedStreams::takeTargetObject(DirectedStream& stream,
                                               const std::optional<MetadataValue>& value) const {
    if (namesACapture(value))
        return false;
    stream.ownTargetObject = value;
    followTargetObject(stream);
    return true;
}

void PipeWireDirectedStreams::followTargetObject(DirectedStream& stream) const {
    if (!stream.ownTargetObject)
        return;
    const std::string& value = stream.ownTargetObject->value;
    if (const GraphSink* sink = graph_.sinks().ofTarget(kTargetObjectKey, value))
        stream.ownTargetNode = chosenTargetNode(std::to_string(sink->nodeID));
    else if (value == kFollowsDefault)
        stream.ownTargetNode = chosenTargetNode(kFollowsDefault);
}

DirectedStream* PipeWireDirectedStreams::find(std::uint32_t nodeID) {
    const auto entry = streams_.find(nodeID);
    return entry != streams_.end() ? &entry->second : nullptr;
}

bool PipeWireDirectedStreams::hasStreamsOf(const std::string& captureName) const {
    return std::ranges::any_of(std::views::values(streams_), [&](const DirectedStream& stream) {
        return stream.captureName == captureName;
    });
}

std::vector<std::uint32_t> PipeWireDirectedStreams::nodeIDs() const {
    const auto keys = std::views::keys(streams_);
    return {keys.begin(), keys.end()};
}

const GraphSink* PipeWireDirectedStreams::ownTarget(const GraphStream& stream) const {
    const auto directed = streams_.find(stream.nodeID);
    const bool isDirected = directed != streams_.end();
    const PipeWireMetadata& metadata = graph_.metadata();
    const auto object =
        isDirected ? directed->second.ownTargetObject : metadata.target(stream.nodeID, kTargetObjectKey);
    const auto node =
        isDirected ? directed->second.ownTargetNode : metadata.target(stream.nodeID, kTargetNodeKey);
    if (object && !namesACapture(object))
        return graph_.sinks().ofTarget(kTargetObjectKey, object->value);
    if (node)
        return graph_.sinks().ofTarget(kTargetNodeKey, node->value);
    if (stream.targetProperty)
        return graph_.sinks().ofTarget(kTargetObjectKey, *stream.targetProperty);
    return nullptr;
}

} // namespace vello
