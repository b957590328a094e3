// SPDX-License-Identifier: Apache-2.0
// The session manager's metadata in the mirror.
#include "PipeWireGraph.h"

#include "PipeWireGraphEntries.h"
#include "PipeWireQuirks.h"

#include <cstring>
#include <utility>

#include <nlohmann/json.hpp>

namespace vello {

namespace {

constexpr char defaultSinkKey[] = "default.audio.sink";

/// The name in a value such as {"name":"alsa_output.pci"}; empty when the value has no name.
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

void PipeWireGraph::metadataAdded(std::uint32_t id) {
    metadata_ = std::make_unique<MetadataEntry>();
    metadata_->id = id;
    readMetadata();
}

void PipeWireGraph::metadataRemoved() {
    metadata_.reset();
    defaultSinkNamed({});
    observer_.sessionManagerGone();
}

void PipeWireGraph::readMetadata() {
    if (metadata_ == nullptr)
        return;
    // Only one read at a time, because the end of overlapping reads could not be detected.
    if (metadata_->isBeingTold) {
        metadata_->isToBeReadAgain = true;
        return;
    }
    metadata_->isBeingTold = true;
    metadata_->isToBeReadAgain = false;
    metadata_->isDefaultSinkTold = false;
    metadata_->told.clear();
    metadata_->binding.bind(pw_registry_bind(registry_->binding.as<pw_registry>(), metadata_->id,
                                             PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    Callbacks::listenToMetadata(*this, *metadata_);
    observer_.metadataRequested();
}

bool PipeWireGraph::metadataAnswered() {
    if (metadata_ == nullptr || !std::exchange(metadata_->isBeingTold, false))
        return false;
    const auto known = metadata_->targets;
    for (const auto& [place, value] : known)
        if (!metadata_->told.contains(place))
            metadataChanged(place.first, place.second.c_str(), nullptr, nullptr);
    if (!metadata_->isDefaultSinkTold)
        defaultSinkNamed({});
    const bool isFirst = !std::exchange(metadata_->isKnown, true);
    if (metadata_->isToBeReadAgain)
        readMetadata();
    return isFirst;
}

bool PipeWireGraph::isMetadataBeingTold() const {
    return metadata_ != nullptr && metadata_->isBeingTold;
}

void PipeWireGraph::readMetadataAnewSoon() {
    if (std::exchange(isMetadataDoubtful_, true))
        return;
    timespec pause{.tv_sec = 0, .tv_nsec = std::chrono::nanoseconds(quirks::metadataDoubt).count()};
    pw_loop_update_timer(loop_, metadataTimer_, &pause, nullptr, false);
}

void PipeWireGraph::readDoubtfulMetadata() {
    isMetadataDoubtful_ = false;
    readMetadata();
}

bool PipeWireGraph::contradictsMetadata(const GraphLink& link) const {
    if (!streams_.contains(link.outputNodeID))
        return false;
    const auto sink = sinks_.find(link.inputNodeID);
    const GraphSink* linked = sink != sinks_.end() ? &sink->second->sink : nullptr;
    const auto known = target(link.outputNodeID, kTargetObjectKey);
    // Only a target can send a stream to a node that is not a device.
    return known ? sinkOfTarget(kTargetObjectKey, known->value) != linked : linked == nullptr;
}

void PipeWireGraph::metadataChanged(std::uint32_t subject, const char* key, const char* type,
                                    const char* value) {
    // A null key means that all metadata of the subject was removed.
    if (key == nullptr) {
        metadataChanged(subject, kTargetObjectKey, nullptr, nullptr);
        metadataChanged(subject, kTargetNodeKey, nullptr, nullptr);
        return;
    }
    if (subject == 0 && std::strcmp(key, defaultSinkKey) == 0) {
        metadata_->isDefaultSinkTold = true;
        defaultSinkNamed(nameInJson(value));
        return;
    }
    const std::string name(key);
    if (name != kTargetObjectKey && name != kTargetNodeKey) {
        metadata_->withMoreThanTargets.insert(subject);
        return;
    }
    std::optional<MetadataValue> current;
    if (value != nullptr)
        current = MetadataValue{type != nullptr ? type : "", value};
    targetTold(subject, name, current);
}

void PipeWireGraph::targetTold(std::uint32_t subject, const std::string& key,
                               const std::optional<MetadataValue>& value) {
    const auto place = std::pair(subject, key);
    metadata_->told.insert(place);
    if (target(subject, key) == value)
        return;
    if (value)
        metadata_->targets[place] = *value;
    else
        metadata_->targets.erase(place);
    observer_.targetChanged(subject, key, value);
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

bool PipeWireGraph::hasOnlyTargets(std::uint32_t nodeID) const {
    return metadata_ != nullptr && !metadata_->withMoreThanTargets.contains(nodeID);
}

void PipeWireGraph::clearMetadata(std::uint32_t nodeID) {
    if (metadata_ != nullptr)
        vello_metadata_set_property(metadata_->binding.as<pw_metadata>(), nodeID, nullptr, nullptr, nullptr);
}

} // namespace vello
