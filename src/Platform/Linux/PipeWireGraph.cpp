// SPDX-License-Identifier: Apache-2.0
#include "PipeWireGraph.h"

#include "PipeWireGraphEntries.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <nlohmann/json.hpp>

namespace vello {

namespace {

constexpr char defaultSinkKey[] = "default.audio.sink";

/// The name in a value such as {"name":"alsa_output.pci"}; empty when there is none.
std::string nameInJson(const char* value) {
    if (value == nullptr)
        return {};
    const auto parsed = nlohmann::json::parse(value, nullptr, false);
    if (!parsed.is_object())
        return {};
    const auto name = parsed.find("name");
    return name != parsed.end() && name->is_string() ? name->get<std::string>() : std::string{};
}

} // namespace

PipeWireGraph::PipeWireGraph(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                             pw_loop* loop)
    : observer_(observer), nextObjectID_(std::move(nextObjectID)), loop_(loop),
      endedStreamsTimer_(pw_loop_add_timer(loop, Callbacks::endedStreamsTimer, this)) {}

PipeWireGraph::~PipeWireGraph() {
    detach();
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
    metadata_.reset();
    defaultSinkName_.clear();
    registry_.reset();
}

void PipeWireGraph::globalAdded(std::uint32_t id, const char* type, const spa_dict& properties) {
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
        const std::string mediaClass = propertyText(properties, PW_KEY_MEDIA_CLASS);
        if (mediaClass == "Audio/Sink")
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
    linkChanged(links_[id]);
}

void PipeWireGraph::linkRemoved(std::uint32_t id) {
    linkChanged(links_.extract(id).mapped());
}

void PipeWireGraph::linkChanged(const GraphLink& link) {
    if (const auto stream = streams_.find(link.outputNodeID); stream != streams_.end())
        stream->second->stream.linksChangedAt = MainThread::Clock::now();
    observer_.linksChanged();
}

bool PipeWireGraph::hasLinkInto(std::uint32_t nodeID) const {
    return std::ranges::any_of(links_, [&](const auto& link) { return link.second.inputNodeID == nodeID; });
}

bool PipeWireGraph::hasLinkOutOf(std::uint32_t nodeID) const {
    return std::ranges::any_of(links_, [&](const auto& link) { return link.second.outputNodeID == nodeID; });
}

// Metadata

void PipeWireGraph::metadataAdded(std::uint32_t id) {
    metadata_ = std::unique_ptr<MetadataEntry>(new MetadataEntry{id, {}, {}});
    metadata_->binding.bind(pw_registry_bind(registry_->binding.as<pw_registry>(), id,
                                             PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    Callbacks::listenToMetadata(*this, *metadata_);
    observer_.metadataAppeared();
}

void PipeWireGraph::metadataRemoved() {
    metadata_.reset();
    defaultSinkNamed({});
}

void PipeWireGraph::metadataChanged(std::uint32_t subject, const char* key, const char* type,
                                    const char* value) {
    // Without a key the session manager takes away everything that it holds for the subject.
    if (key == nullptr) {
        metadataChanged(subject, kTargetObjectKey, nullptr, nullptr);
        metadataChanged(subject, kTargetNodeKey, nullptr, nullptr);
        return;
    }
    if (subject == 0 && std::strcmp(key, defaultSinkKey) == 0) {
        defaultSinkNamed(nameInJson(value));
        return;
    }
    const std::string name(key);
    if (name != kTargetObjectKey && name != kTargetNodeKey)
        return;
    std::optional<MetadataValue> current;
    if (value != nullptr)
        current = MetadataValue{type != nullptr ? type : "", value};
    if (current)
        metadata_->targets[{subject, name}] = *current;
    else
        metadata_->targets.erase({subject, name});
    observer_.targetChanged(subject, name, current);
}

void PipeWireGraph::defaultSinkNamed(std::string name) {
    if (name == defaultSinkName_)
        return;
    defaultSinkName_ = std::move(name);
    observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
}

std::optional<MetadataValue> PipeWireGraph::target(std::uint32_t nodeID, const std::string& key) const {
    if (metadata_ == nullptr)
        return std::nullopt;
    const auto value = metadata_->targets.find({nodeID, key});
    return value != metadata_->targets.end() ? std::optional(value->second) : std::nullopt;
}

void PipeWireGraph::setTarget(std::uint32_t nodeID, const std::string& key,
                              const std::optional<MetadataValue>& value) {
    if (metadata_ == nullptr)
        return;
    vello_metadata_set_property(metadata_->binding.as<pw_metadata>(), nodeID, key.c_str(),
                                value ? value->type.c_str() : nullptr,
                                value ? value->value.c_str() : nullptr);
}

} // namespace vello
