// SPDX-License-Identifier: Apache-2.0
#include "PipeWireGraph.h"

#include "PipeWireGraphEntries.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vello {

PipeWireGraph::PipeWireGraph(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                             pw_loop* loop)
    : observer_(observer), nextObjectID_(std::move(nextObjectID)), loop_(loop),
      endedStreamsTimer_(pw_loop_add_timer(loop, Callbacks::endedStreamsTimer, this)),
      metadataTimer_(pw_loop_add_timer(loop, Callbacks::metadataTimer, this)) {}

PipeWireGraph::~PipeWireGraph() {
    detach();
    pw_loop_destroy_source(loop_, metadataTimer_);
    pw_loop_destroy_source(loop_, endedStreamsTimer_);
}

void PipeWireGraph::attach(pw_core* core) {
    registry_ = std::make_unique<RegistryEntry>();
    registry_->binding.bind(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0));
    Callbacks::listenToRegistry(*this, *registry_);
}

void PipeWireGraph::detach() {
    sinks_.clear();
    streams_.clear();
    clients_.clear();
    links_.clear();
    inputsOfOutput_.clear();
    linkedInputs_.clear();
    metadata_.reset();
    defaultSinkName_.clear();
    registry_.reset();
}

void PipeWireGraph::globalAdded(std::uint32_t id, const char* type, const spa_dict& properties) {
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
        const std::string mediaClass = propertyText(properties, PW_KEY_MEDIA_CLASS);
        if (mediaClass == "Audio/Sink" || mediaClass == "Audio/Duplex")
            sinkAdded(id, properties);
        else if (mediaClass == "Stream/Output/Audio")
            streamAdded(id, properties);
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Client) == 0) {
        clientAdded(id, properties);
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Link) == 0) {
        linkAdded(id, properties);
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0 &&
               propertyText(properties, PW_KEY_METADATA_NAME) == "default") {
        metadataAdded(id);
    }
}

void PipeWireGraph::globalRemoved(std::uint32_t id) {
    if (sinks_.contains(id))
        sinkRemoved(id);
    else if (streams_.contains(id))
        streamRemoved(id);
    else if (links_.contains(id))
        linkRemoved(id);
    else if (metadata_ != nullptr && metadata_->id == id)
        metadataRemoved();
    else
        clients_.erase(id);
}

// Links

void PipeWireGraph::linkAdded(std::uint32_t id, const spa_dict& properties) {
    const auto output = propertyNumber(properties, PW_KEY_LINK_OUTPUT_NODE);
    const auto input = propertyNumber(properties, PW_KEY_LINK_INPUT_NODE);
    if (!output || !input)
        return;
    links_[id] = {*output, *input};
    inputsOfOutput_.emplace(*output, *input);
    linkedInputs_.insert(*input);
    if (contradictsMetadata(links_[id]))
        readMetadataAnewSoon();
    linkChanged(links_[id]);
}

void PipeWireGraph::linkRemoved(std::uint32_t id) {
    const GraphLink link = links_.extract(id).mapped();
    linkedInputs_.erase(linkedInputs_.find(link.inputNodeID));
    const auto [first, last] = inputsOfOutput_.equal_range(link.outputNodeID);
    inputsOfOutput_.erase(
        std::find_if(first, last, [&](const auto& entry) { return entry.second == link.inputNodeID; }));
    linkChanged(link);
}

void PipeWireGraph::linkChanged(const GraphLink& link) {
    if (const auto stream = streams_.find(link.outputNodeID); stream != streams_.end())
        stream->second->stream.linksChangedAt = MainThread::Clock::now();
    observer_.linksChanged();
}

bool PipeWireGraph::hasLinkInto(std::uint32_t nodeID) const {
    return linkedInputs_.contains(nodeID);
}

bool PipeWireGraph::isLinkedToSink(std::uint32_t nodeID) const {
    const auto [first, last] = inputsOfOutput_.equal_range(nodeID);
    return std::any_of(first, last, [&](const auto& entry) { return sinks_.contains(entry.second); });
}

bool PipeWireGraph::hasLinksOutOf(std::uint32_t nodeID, std::uint32_t channels) const {
    std::uint32_t count = 0;
    const auto [first, last] = inputsOfOutput_.equal_range(nodeID);
    for (auto entry = first; entry != last; ++entry) {
        ++count;
        if (const auto sink = sinks_.find(entry->second); sink != sinks_.end())
            channels = std::min(channels, sink->second->sink.channels);
    }
    return count > 0 && count >= channels;
}

bool PipeWireGraph::isLinkedToAnotherThanDefault(std::uint32_t nodeID) const {
    const auto [first, last] = inputsOfOutput_.equal_range(nodeID);
    return std::any_of(first, last, [&](const auto& entry) {
        const auto sink = sinks_.find(entry.second);
        return sink != sinks_.end() && sink->second->sink.name != defaultSinkName_;
    });
}

bool PipeWireGraph::hasLinkOutOf(std::uint32_t nodeID) const {
    return inputsOfOutput_.contains(nodeID);
}

} // namespace vello
