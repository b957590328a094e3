// SPDX-License-Identifier: Apache-2.0
#include "PipeWireGraph.h"

#include "PipeWireBinding.h"
#include "PipeWireValues.h"

#include <algorithm>
#include <cstring>

namespace vello {

PipeWireGraph::PipeWireGraph(PipeWireGraphObserver& observer,
                             const std::function<AudioObjectID()>& nextObjectID, pw_loop* loop)
    : observer_(observer), metadata_(observer, loop), sinks_(observer, nextObjectID, metadata_),
      clients_(observer, nextObjectID), streams_(observer, nextObjectID, loop, clients_, links_) {}

PipeWireGraph::~PipeWireGraph() {
    detach();
}

void PipeWireGraph::attach(pw_core* core) {
    static const pw_registry_events events = [] {
        pw_registry_events table{};
        table.version = PW_VERSION_REGISTRY_EVENTS;
        table.global = onGlobal;
        table.global_remove = onGlobalRemove;
        return table;
    }();
    registry_ = std::make_unique<PipeWireBinding>();
    registry_->bind(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0));
    vello_registry_add_listener(registry_->as<pw_registry>(), registry_->hook(), &events, this);
}

void PipeWireGraph::detach() {
    sinks_.clear();
    streams_.clear();
    clients_.clear();
    links_.clear();
    metadata_.clear();
    registry_.reset();
}

void PipeWireGraph::onGlobal(void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                             const spa_dict* properties) {
    if (properties != nullptr)
        static_cast<PipeWireGraph*>(data)->globalAdded(id, type, *properties);
}

void PipeWireGraph::onGlobalRemove(void* data, std::uint32_t id) {
    static_cast<PipeWireGraph*>(data)->globalRemoved(id);
}

void PipeWireGraph::globalAdded(std::uint32_t id, const char* type, const spa_dict& properties) {
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0)
        nodeAdded(id, properties);
    else if (std::strcmp(type, PW_TYPE_INTERFACE_Client) == 0)
        clientAdded(id);
    else if (std::strcmp(type, PW_TYPE_INTERFACE_Link) == 0)
        linkAdded(id, properties);
    else if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0 &&
             propertyText(properties, PW_KEY_METADATA_NAME) == "default")
        metadata_.add(registry_->as<pw_registry>(), id);
}

void PipeWireGraph::nodeAdded(std::uint32_t id, const spa_dict& properties) {
    const std::string mediaClass = propertyText(properties, PW_KEY_MEDIA_CLASS);
    if (mediaClass == "Audio/Sink" || mediaClass == "Audio/Duplex")
        sinks_.add(registry_->as<pw_registry>(), id, properties);
    else if (mediaClass == "Stream/Output/Audio")
        streams_.add(registry_->as<pw_registry>(), id, properties);
}

void PipeWireGraph::clientAdded(std::uint32_t id) {
    clients_.add(id);
    // The new client may be about to read the metadata, see quirks::kMetadataDoubt.
    metadata_.doubt();
}

void PipeWireGraph::linkAdded(std::uint32_t id, const spa_dict& properties) {
    const auto link = links_.add(id, properties);
    if (!link)
        return;
    if (contradictsMetadata(*link))
        metadata_.doubt();
    linkChanged(*link);
}

void PipeWireGraph::globalRemoved(std::uint32_t id) {
    if (sinks_.remove(id) || metadata_.remove(id))
        return;
    if (streams_.withNodeID(id) != nullptr)
        streamRemoved(id);
    else if (const auto link = links_.remove(id))
        linkChanged(*link);
    else
        clients_.remove(id);
}

void PipeWireGraph::streamRemoved(std::uint32_t id) {
    metadata_.forgetTargets(id);
    streams_.remove(id);
}

void PipeWireGraph::linkChanged(const GraphLink& link) {
    streams_.linksChanged(link.outputNodeID);
    observer_.linksChanged();
}

bool PipeWireGraph::contradictsMetadata(const GraphLink& link) const {
    if (streams_.withNodeID(link.outputNodeID) == nullptr)
        return false;
    const GraphSink* linked = sinks_.withNodeID(link.inputNodeID);
    const auto known = metadata_.target(link.outputNodeID, kTargetObjectKey);
    // Only a target can send a stream to a node that is not a device.
    return known ? sinks_.ofTarget(kTargetObjectKey, known->value) != linked : linked == nullptr;
}

bool PipeWireGraph::isLinkedToSink(std::uint32_t nodeID) const {
    return std::ranges::any_of(links_.inputsOf(nodeID),
                               [&](std::uint32_t input) { return sinks_.withNodeID(input) != nullptr; });
}

bool PipeWireGraph::isLinkedToAnotherThanDefault(std::uint32_t nodeID) const {
    return std::ranges::any_of(links_.inputsOf(nodeID), [&](std::uint32_t input) {
        const GraphSink* sink = sinks_.withNodeID(input);
        return sink != nullptr && sink->name != metadata_.defaultSinkName();
    });
}

bool PipeWireGraph::hasLinksOutOf(std::uint32_t nodeID, std::uint32_t channels) const {
    std::uint32_t count = 0;
    for (const std::uint32_t input : links_.inputsOf(nodeID)) {
        ++count;
        if (const GraphSink* sink = sinks_.withNodeID(input))
            channels = std::min(channels, sink->channels);
    }
    return count > 0 && count >= channels;
}

} // namespace vello
