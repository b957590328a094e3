// SPDX-License-Identifier: Apache-2.0
#include "PipeWireMetadata.h"

#include "PipeWireBinding.h"
#include "PipeWireQuirks.h"
#include "PipeWireValues.h"

#include <cstring>
#include <map>
#include <set>
#include <utility>

namespace vello {

namespace {

std::optional<MetadataValue> metadataValue(const char* type, const char* value) {
    if (value == nullptr)
        return std::nullopt;
    return MetadataValue{type != nullptr ? type : "", value};
}

} // namespace

/// The session manager's metadata object, and its values.
struct PipeWireMetadata::Object {
    using Place = std::pair<std::uint32_t, std::string>; ///< subject and key

    pw_registry* registry;
    std::uint32_t id;
    PipeWireBinding binding;
    std::map<Place, MetadataValue> targets;
    std::set<std::uint32_t> withMoreThanTargets;
    /// Keys received during the current read.
    std::set<Place> answered;
    bool isDefaultSinkAnswered = false;
    bool isBeingRead = false;
    bool isToBeReadAgain = false;
    bool isKnown = false; ///< all values have been received once
};

PipeWireMetadata::PipeWireMetadata(PipeWireGraphObserver& observer, pw_loop* loop)
    : observer_(observer), doubtTimer_(loop, [this] { readDoubted(); }) {}

PipeWireMetadata::~PipeWireMetadata() = default;

void PipeWireMetadata::add(pw_registry* registry, std::uint32_t id) {
    object_ = std::make_unique<Object>();
    object_->registry = registry;
    object_->id = id;
    read();
}

bool PipeWireMetadata::remove(std::uint32_t id) {
    if (object_ == nullptr || object_->id != id)
        return false;
    object_.reset();
    setDefaultSinkName({});
    observer_.sessionManagerGone();
    return true;
}

void PipeWireMetadata::clear() {
    object_.reset();
    defaultSinkName_.clear();
}

// Reading

void PipeWireMetadata::read() {
    if (object_ == nullptr)
        return;
    // Only one read at a time, because the end of overlapping reads could not be detected.
    if (object_->isBeingRead) {
        object_->isToBeReadAgain = true;
        return;
    }
    object_->isBeingRead = true;
    object_->isToBeReadAgain = false;
    object_->isDefaultSinkAnswered = false;
    object_->answered.clear();
    bind();
    observer_.metadataRequested();
}

/// The server sends all values to each new binding.
void PipeWireMetadata::bind() {
    static const pw_metadata_events events = [] {
        pw_metadata_events table{};
        table.version = PW_VERSION_METADATA_EVENTS;
        table.property = onProperty;
        return table;
    }();
    PipeWireBinding& binding = object_->binding;
    binding.bind(
        pw_registry_bind(object_->registry, object_->id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    vello_metadata_add_listener(binding.as<pw_metadata>(), binding.hook(), &events, this);
}

bool PipeWireMetadata::answered() {
    if (object_ == nullptr || !std::exchange(object_->isBeingRead, false))
        return false;
    removeUnansweredTargets();
    if (!object_->isDefaultSinkAnswered)
        setDefaultSinkName({});
    const bool isFirst = !std::exchange(object_->isKnown, true);
    if (object_->isToBeReadAgain)
        read();
    return isFirst;
}

void PipeWireMetadata::removeUnansweredTargets() {
    const auto known = object_->targets;
    for (const auto& [place, value] : known)
        if (!object_->answered.contains(place))
            targetAnswered(place.first, place.second, std::nullopt);
}

bool PipeWireMetadata::isBeingRead() const {
    return object_ != nullptr && object_->isBeingRead;
}

void PipeWireMetadata::doubt() {
    if (!std::exchange(isDoubted_, true))
        doubtTimer_.start(quirks::kMetadataDoubt);
}

void PipeWireMetadata::readDoubted() {
    isDoubted_ = false;
    read();
}

int PipeWireMetadata::onProperty(void* data, std::uint32_t subject, const char* key, const char* type,
                                 const char* value) {
    static_cast<PipeWireMetadata*>(data)->propertyChanged(subject, key, type, value);
    return 0;
}

void PipeWireMetadata::propertyChanged(std::uint32_t subject, const char* key, const char* type,
                                       const char* value) {
    // A null key means that all metadata of the subject was removed.
    if (key == nullptr) {
        targetAnswered(subject, kTargetObjectKey, std::nullopt);
        targetAnswered(subject, kTargetNodeKey, std::nullopt);
    } else if (subject == 0 && std::strcmp(key, kDefaultSinkKey) == 0) {
        object_->isDefaultSinkAnswered = true;
        setDefaultSinkName(nameInJson(value));
    } else if (std::strcmp(key, kTargetObjectKey) == 0 || std::strcmp(key, kTargetNodeKey) == 0) {
        targetAnswered(subject, key, metadataValue(type, value));
    } else {
        object_->withMoreThanTargets.insert(subject);
    }
}

void PipeWireMetadata::targetAnswered(std::uint32_t subject, const std::string& key,
                                      const std::optional<MetadataValue>& value) {
    const Object::Place place(subject, key);
    object_->answered.insert(place);
    if (target(subject, key) == value)
        return;
    if (value)
        object_->targets[place] = *value;
    else
        object_->targets.erase(place);
    observer_.targetChanged(subject, key, value);
}

void PipeWireMetadata::setDefaultSinkName(std::string name) {
    if (name == defaultSinkName_)
        return;
    defaultSinkName_ = std::move(name);
    observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
}

// Targets

std::optional<MetadataValue> PipeWireMetadata::target(std::uint32_t nodeID, const std::string& key) const {
    if (object_ == nullptr)
        return std::nullopt;
    const auto value = object_->targets.find({nodeID, key});
    return value != object_->targets.end() ? std::optional(value->second) : std::nullopt;
}

bool PipeWireMetadata::hasOnlyTargets(std::uint32_t nodeID) const {
    return object_ != nullptr && !object_->withMoreThanTargets.contains(nodeID);
}

void PipeWireMetadata::setTarget(std::uint32_t nodeID, const std::string& key,
                                 const std::optional<MetadataValue>& value) {
    if (object_ != nullptr)
        vello_metadata_set_property(object_->binding.as<pw_metadata>(), nodeID, key.c_str(),
                                    value ? value->type.c_str() : nullptr,
                                    value ? value->value.c_str() : nullptr);
}

void PipeWireMetadata::clearNode(std::uint32_t nodeID) {
    if (object_ != nullptr)
        vello_metadata_set_property(object_->binding.as<pw_metadata>(), nodeID, nullptr, nullptr, nullptr);
}

void PipeWireMetadata::forgetTargets(std::uint32_t nodeID) {
    if (object_ != nullptr)
        std::erase_if(object_->targets,
                      [nodeID](const auto& target) { return target.first.first == nodeID; });
}

} // namespace vello
