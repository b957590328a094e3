// SPDX-License-Identifier: Apache-2.0
#include "PipeWireStaleRedirects.h"

#include "PipeWireGraph.h"
#include "TargetValues.h"

#include <algorithm>
#include <utility>

namespace vello {

PipeWireStaleRedirects::PipeWireStaleRedirects(PipeWireGraph& graph,
                                               std::function<bool(const GraphStream&)> hasCapture)
    : graph_(graph), hasCapture_(std::move(hasCapture)) {}

bool PipeWireStaleRedirects::isStale(const GraphStream& stream) const {
    return !hasCapture_(stream) && namesACapture(graph_.metadata().target(stream.nodeID, kTargetObjectKey));
}

std::vector<std::uint32_t> PipeWireStaleRedirects::streams(const std::vector<std::uint32_t>& directed) const {
    std::vector<std::uint32_t> stale;
    for (const GraphStream* stream : graph_.streams().all())
        if (isStale(*stream) || (std::ranges::find(directed, stream->nodeID) != directed.end() &&
                                 !graph_.metadata().target(stream->nodeID, kTargetObjectKey)))
            stale.push_back(stream->nodeID);
    return stale;
}

void PipeWireStaleRedirects::takeBack(const std::vector<std::uint32_t>& nodeIDs) {
    std::vector<const GraphStream*> stale = streamsOf(nodeIDs);
    for (const GraphStream* stream : stale)
        keepChoice(*stream);
    // When the session manager receives a target, it checks all its streams, which takes it milliseconds. It
    // is not notified when all metadata of a stream is cleared. So the streams that need no target are
    // cleared first, and all of them are moved when the session manager receives the next target. At least
    // one target must therefore be written.
    const auto needing = std::ranges::partition(stale, [&](const GraphStream* stream) {
                             return needsNoTarget(*stream);
                         }).begin();
    const auto heard = needing == stale.end() && needing != stale.begin() ? needing - 1 : needing;
    for (auto stream = stale.begin(); stream != heard; ++stream)
        graph_.metadata().clearNode((*stream)->nodeID);
    for (auto stream = heard; stream != stale.end(); ++stream)
        graph_.metadata().setTarget((*stream)->nodeID, kTargetObjectKey, std::nullopt);
}

std::vector<const GraphStream*>
PipeWireStaleRedirects::streamsOf(const std::vector<std::uint32_t>& nodeIDs) const {
    std::vector<const GraphStream*> found;
    for (const std::uint32_t nodeID : nodeIDs)
        if (const GraphStream* stream = graph_.streams().withNodeID(nodeID))
            found.push_back(stream);
    return found;
}

void PipeWireStaleRedirects::keepChoice(const GraphStream& stream) {
    if (const auto targetNode = asChosen(graph_.metadata().target(stream.nodeID, kTargetNodeKey)))
        choices_[stream.nodeID] = *targetNode;
}

void PipeWireStaleRedirects::rewriteChoices() {
    for (const auto& [nodeID, targetNode] : std::exchange(choices_, {}))
        if (graph_.streams().withNodeID(nodeID) != nullptr)
            graph_.metadata().setTarget(nodeID, kTargetNodeKey, targetNode);
}

bool PipeWireStaleRedirects::needsNoTarget(const GraphStream& stream) const {
    const auto targetNode = graph_.metadata().target(stream.nodeID, kTargetNodeKey);
    return graph_.metadata().hasOnlyTargets(stream.nodeID) &&
           (!targetNode || isWhereItGoesAnyway(stream, *targetNode));
}

bool PipeWireStaleRedirects::isWhereItGoesAnyway(const GraphStream& stream,
                                                 const MetadataValue& targetNode) const {
    const auto orDefault = [&](const GraphSink* sink) {
        return sink != nullptr ? sink : graph_.defaultSink();
    };
    const GraphSink* own =
        stream.targetProperty ? graph_.sinks().ofTarget(kTargetObjectKey, *stream.targetProperty) : nullptr;
    return orDefault(graph_.sinks().ofTarget(kTargetNodeKey, targetNode.value)) == orDefault(own);
}

} // namespace vello
