// SPDX-License-Identifier: Apache-2.0
#include "PipeWireStreamDirector.h"

#include "Foundation/Product.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace vello {

namespace {

bool namesACapture(const std::optional<MetadataValue>& value) {
    return value && std::string_view(value->value).starts_with(kTapNamePrefix);
}

/// The target by name. The session manager would save a target by serial as the user's choice.
MetadataValue targetByName(const std::string& name) {
    return {"Spa:String", name};
}

/// The session manager saves a target node as the user's choice whenever it is written with another value or
/// type, and accepts any type. Our own writes alternate between these types, so each write is a change, and
/// differs from writes of mixers and the session manager, which have the type "Spa:Id".
constexpr const char* ownNodeTypes[] = {"Spa:Int", "Spa:Long"};
constexpr char foreignNodeType[] = "Spa:Id";
/// The value of a target that was reset to the default output.
constexpr char followsDefault[] = "-1";

bool isOwnWrite(const MetadataValue& value) {
    return std::ranges::find(ownNodeTypes, value.type) != std::end(ownNodeTypes);
}

/// The target node as the user or the session manager wrote it, even when the current value is our
/// repetition.
std::optional<MetadataValue> asChosen(std::optional<MetadataValue> targetNode) {
    if (targetNode && isOwnWrite(*targetNode))
        targetNode->type = foreignNodeType;
    return targetNode;
}

} // namespace

PipeWireStreamDirector::PipeWireStreamDirector(PipeWireGraph& graph, PropertyChanged propertyChanged,
                                               RedirectKeeper* keeper)
    : graph_(graph), propertyChanged_(std::move(propertyChanged)), keeper_(keeper) {}

void PipeWireStreamDirector::direct(Capture capture) {
    captures_.push_back(std::move(capture));
    reconsider();
}

void PipeWireStreamDirector::release(const std::string& captureName) {
    std::erase_if(captures_, [&](const Capture& capture) { return capture.name == captureName; });
    reconsider();
}

bool PipeWireStreamDirector::hasStreams(const std::string& captureName) const {
    return std::ranges::any_of(directed_,
                               [&](const auto& entry) { return entry.second.captureName == captureName; });
}

const PipeWireStreamDirector::Capture*
PipeWireStreamDirector::captureOfProcess(const GraphStream& stream) const {
    const GraphClient* client = graph_.processOfStream(stream);
    if (client == nullptr)
        return nullptr;
    const auto newest = std::find_if(captures_.rbegin(), captures_.rend(), [&](const Capture& capture) {
        return std::ranges::find(capture.processes, client->objectID) != capture.processes.end();
    });
    return newest != captures_.rend() ? &*newest : nullptr;
}

void PipeWireStreamDirector::direct(std::uint32_t nodeID, const std::string& captureName) {
    auto [entry, isNew] = directed_.try_emplace(nodeID);
    DirectedStream& stream = entry->second;
    if (isNew) {
        stream.ownTargetObject = graph_.target(nodeID, kTargetObjectKey);
        if (namesACapture(stream.ownTargetObject))
            stream.ownTargetObject.reset();
        stream.ownTargetNode = asChosen(graph_.target(nodeID, kTargetNodeKey));
        followTargetObject(stream);
    }
    stream.captureName = captureName;
    write(nodeID, stream);
}

void PipeWireStreamDirector::followTargetObject(DirectedStream& stream) const {
    if (!stream.ownTargetObject)
        return;
    const std::string& value = stream.ownTargetObject->value;
    const GraphSink* sink = graph_.sinkOfTarget(kTargetObjectKey, value);
    if (sink != nullptr)
        stream.ownTargetNode = MetadataValue{foreignNodeType, std::to_string(sink->nodeID)};
    else if (value == followsDefault)
        stream.ownTargetNode = MetadataValue{foreignNodeType, followsDefault};
}

void PipeWireStreamDirector::write(std::uint32_t nodeID, DirectedStream& stream) {
    if (isGivenUp())
        return;
    if (keeper_ != nullptr)
        keeper_->directed(nodeID);
    graph_.setTarget(nodeID, kTargetObjectKey, targetByName(stream.captureName));
    // Our target makes the session manager forget the output that it had saved for this application. Writing
    // the target node again makes it save that output, while our target stays in force.
    if (stream.ownTargetNode)
        graph_.setTarget(nodeID, kTargetNodeKey,
                         MetadataValue{ownNodeTypes[stream.writes++ % std::size(ownNodeTypes)],
                                       stream.ownTargetNode->value});
}

void PipeWireStreamDirector::giveBack(std::uint32_t nodeID) {
    auto entry = directed_.extract(nodeID);
    if (entry.empty() || graph_.stream(nodeID) == nullptr)
        return;
    const DirectedStream& stream = entry.mapped();
    graph_.setTarget(nodeID, kTargetObjectKey, stream.ownTargetObject);
    // Written after ours is removed, so that the session manager saves the choice and not its absence.
    if (stream.ownTargetNode)
        graph_.setTarget(nodeID, kTargetNodeKey, stream.ownTargetNode);
    released(nodeID);
}

void PipeWireStreamDirector::released(std::uint32_t nodeID) {
    if (keeper_ != nullptr)
        keeper_->released(nodeID);
}

const GraphSink* PipeWireStreamDirector::ownTarget(const GraphStream& stream) const {
    const auto directed = directed_.find(stream.nodeID);
    const bool isDirected = directed != directed_.end();
    auto object =
        isDirected ? directed->second.ownTargetObject : graph_.target(stream.nodeID, kTargetObjectKey);
    auto node = isDirected ? directed->second.ownTargetNode : graph_.target(stream.nodeID, kTargetNodeKey);
    if (object && !namesACapture(object))
        return graph_.sinkOfTarget(kTargetObjectKey, object->value);
    if (node)
        return graph_.sinkOfTarget(kTargetNodeKey, node->value);
    if (stream.targetProperty)
        return graph_.sinkOfTarget(kTargetObjectKey, *stream.targetProperty);
    return nullptr;
}

void PipeWireStreamDirector::streamDescribed(const GraphStream& stream) {
    const bool isNew = !exemptions_.contains(stream.nodeID);
    reconsider();
    announceDevices(stream);
    if (isNew && isStale(stream)) {
        takeBackStale();
        rewriteChoices();
    }
}

bool PipeWireStreamDirector::isStale(const GraphStream& stream) const {
    return captureFor(stream) == nullptr && namesACapture(graph_.target(stream.nodeID, kTargetObjectKey));
}

bool PipeWireStreamDirector::isWhereItGoesAnyway(const GraphStream& stream,
                                                 const MetadataValue& targetNode) const {
    const auto orDefault = [&](const GraphSink* sink) {
        return sink != nullptr ? sink : graph_.defaultSink();
    };
    const GraphSink* own =
        stream.targetProperty ? graph_.sinkOfTarget(kTargetObjectKey, *stream.targetProperty) : nullptr;
    return orDefault(graph_.sinkOfTarget(kTargetNodeKey, targetNode.value)) == orDefault(own);
}

bool PipeWireStreamDirector::needsNoTarget(const GraphStream& stream) const {
    const auto targetNode = graph_.target(stream.nodeID, kTargetNodeKey);
    return graph_.hasOnlyTargets(stream.nodeID) && (!targetNode || isWhereItGoesAnyway(stream, *targetNode));
}

std::vector<std::uint32_t>
PipeWireStreamDirector::staleStreams(const std::vector<std::uint32_t>& directed) const {
    std::vector<std::uint32_t> stale;
    for (const GraphStream* stream : graph_.streams())
        if (isStale(*stream) || (std::ranges::find(directed, stream->nodeID) != directed.end() &&
                                 !graph_.target(stream->nodeID, kTargetObjectKey)))
            stale.push_back(stream->nodeID);
    return stale;
}

void PipeWireStreamDirector::takeBack(const std::vector<std::uint32_t>& nodeIDs) {
    std::vector<const GraphStream*> stale;
    for (const std::uint32_t nodeID : nodeIDs)
        if (const GraphStream* stream = graph_.stream(nodeID))
            stale.push_back(stream);
    for (const GraphStream* stream : stale)
        if (const auto targetNode = asChosen(graph_.target(stream->nodeID, kTargetNodeKey)))
            choices_[stream->nodeID] = *targetNode;
    // When the session manager receives a target, it checks all its streams, which takes it milliseconds. It
    // is not notified when all metadata of a stream is cleared. So the streams that need no target are
    // cleared first, and all of them are moved when the session manager receives the next target. At least
    // one target must therefore be written.
    const auto needing = std::ranges::partition(stale, [&](const GraphStream* stream) {
                             return needsNoTarget(*stream);
                         }).begin();
    const auto heard = needing == stale.end() && needing != stale.begin() ? needing - 1 : needing;
    for (auto stream = stale.begin(); stream != heard; ++stream)
        graph_.clearMetadata((*stream)->nodeID);
    for (auto stream = heard; stream != stale.end(); ++stream)
        graph_.setTarget((*stream)->nodeID, kTargetObjectKey, std::nullopt);
}

void PipeWireStreamDirector::rewriteChoices() {
    for (const auto& [nodeID, targetNode] : std::exchange(choices_, {}))
        if (graph_.stream(nodeID) != nullptr)
            graph_.setTarget(nodeID, kTargetNodeKey, targetNode);
}

void PipeWireStreamDirector::streamVanished(std::uint32_t nodeID) {
    released(nodeID);
    directed_.erase(nodeID);
    const auto told = exemptions_.extract(nodeID);
    if (told && told.mapped() != StreamExemption::none)
        propertyChanged_(kAudioObjectSystemObject, kAudioHardwarePropertyExemptStreamList);
    reconsider();
}

void PipeWireStreamDirector::targetChanged(std::uint32_t nodeID, const std::string& key,
                                           const std::optional<MetadataValue>& value) {
    const auto entry = directed_.find(nodeID);
    if (entry == directed_.end())
        return userMoved(nodeID);
    // While the streams are given up the guard removes the targets, not the user.
    if (!value && isGivenUp())
        return;
    DirectedStream& stream = entry->second;
    if (key == kTargetObjectKey) {
        if (namesACapture(value))
            return;
        stream.ownTargetObject = value;
        followTargetObject(stream);
    } else {
        if (value &&
            (isOwnWrite(*value) || (stream.ownTargetNode && value->value == stream.ownTargetNode->value)))
            return;
        stream.ownTargetNode = value;
        // A target node without a target object is the newer choice; the session manager's older target
        // object would hide it.
        stream.ownTargetObject.reset();
    }
    const GraphStream* moved = graph_.stream(nodeID);
    if (moved != nullptr && captureFor(*moved) != nullptr)
        write(nodeID, stream);
    userMoved(nodeID);
}

void PipeWireStreamDirector::userMoved(std::uint32_t nodeID) {
    reconsider();
    if (const GraphStream* moved = graph_.stream(nodeID))
        announceDevices(*moved);
}

void PipeWireStreamDirector::announceDevices(const GraphStream& stream) {
    if (const GraphClient* client = graph_.processOfStream(stream))
        propertyChanged_(client->objectID, kAudioProcessPropertyDevices);
}

void PipeWireStreamDirector::metadataKnown() {
    for (const GraphStream* stream : graph_.streams())
        if (const Capture* capture = captureFor(*stream))
            direct(stream->nodeID, capture->name);
    takeBackStale();
    rewriteChoices();
}

void PipeWireStreamDirector::directAgain() {
    for (auto& [nodeID, stream] : directed_)
        write(nodeID, stream);
}

void PipeWireStreamDirector::reset() {
    for (const auto& [nodeID, stream] : directed_)
        released(nodeID);
    captures_.clear();
    directed_.clear();
    exemptions_.clear();
    choices_.clear();
}

} // namespace vello
