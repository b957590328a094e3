// SPDX-License-Identifier: Apache-2.0
#include "PipeWireSinks.h"

#include "GraphEntries.h"
#include "PipeWireBinding.h"
#include "PipeWireMetadata.h"
#include "PipeWireValues.h"

#include <utility>

#include <spa/param/audio/format-utils.h>

namespace vello {

namespace {

FourCharCode transportOf(const spa_dict& properties) {
    const std::string api = propertyText(properties, PW_KEY_DEVICE_API);
    if (api == "bluez5")
        return kAudioDeviceTransportTypeBluetooth;
    if (api.empty())
        return fourCharCode("virt");
    const std::string bus = propertyText(properties, PW_KEY_DEVICE_BUS);
    return bus == "usb" ? fourCharCode("usb ") : bus == "pci" ? fourCharCode("pci ") : fourCharCode("bltn");
}

} // namespace

struct PipeWireSinks::Entry {
    PipeWireSinks& sinks;
    GraphSink object;
    PipeWireBinding binding;

    static void onInfo(void* data, const pw_node_info* info);
    static void onParameter(void* data, int sequence, std::uint32_t id, std::uint32_t index,
                            std::uint32_t next, const spa_pod* parameter);
};

void PipeWireSinks::Entry::onInfo(void* data, const pw_node_info* info) {
    auto& entry = *static_cast<Entry*>(data);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0 && info->props != nullptr)
        entry.sinks.propertiesKnown(entry.object, *info->props);
}

void PipeWireSinks::Entry::onParameter(void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t,
                                       const spa_pod* parameter) {
    auto& entry = *static_cast<Entry*>(data);
    if (parameter == nullptr || (id != SPA_PARAM_EnumFormat && id != SPA_PARAM_Format))
        return;
    // Offered formats only stand in until the server sets the actual format.
    const bool isInForce = id == SPA_PARAM_Format;
    if (!isInForce && entry.object.sampleRate > 0)
        return;
    entry.sinks.formatKnown(entry.object, formatInteger(parameter, SPA_FORMAT_AUDIO_rate),
                            formatInteger(parameter, SPA_FORMAT_AUDIO_channels));
}

PipeWireSinks::PipeWireSinks(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                             const PipeWireMetadata& metadata)
    : observer_(observer), nextObjectID_(std::move(nextObjectID)), metadata_(metadata) {}

PipeWireSinks::~PipeWireSinks() = default;

void PipeWireSinks::add(pw_registry* registry, std::uint32_t nodeID, const spa_dict& properties) {
    auto entry = std::unique_ptr<Entry>(new Entry{*this, {}, {}});
    entry->object.nodeID = nodeID;
    entry->object.serial = propertyText(properties, PW_KEY_OBJECT_SERIAL);
    entry->binding.bind(pw_registry_bind(registry, nodeID, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    Entry& added = *(sinks_[nodeID] = std::move(entry));
    listenToNode(added, {SPA_PARAM_EnumFormat, SPA_PARAM_Format});
}

bool PipeWireSinks::remove(std::uint32_t nodeID) {
    const auto removed = sinks_.extract(nodeID);
    if (removed.empty())
        return false;
    reportListChanged(removed.mapped()->object);
    return true;
}

void PipeWireSinks::clear() {
    sinks_.clear();
}

void PipeWireSinks::propertiesKnown(GraphSink& sink, const spa_dict& properties) {
    const std::string previousDescription = sink.description;
    sink.name = propertyText(properties, PW_KEY_NODE_NAME);
    sink.description = propertyText(properties, PW_KEY_NODE_DESCRIPTION);
    if (sink.description.empty())
        sink.description = sink.name;
    sink.transport = transportOf(properties);
    if (const auto channels = propertyNumber(properties, PW_KEY_AUDIO_CHANNELS))
        sink.channels = *channels;
    if (!std::exchange(sink.isDescribed, true)) {
        sink.objectID = nextObjectID_();
        reportListChanged(sink);
    } else if (sink.description != previousDescription) {
        observer_.propertyChanged(sink.objectID, kAudioObjectPropertyName);
    }
}

void PipeWireSinks::reportListChanged(const GraphSink& sink) {
    observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    if (sink.name == metadata_.defaultSinkName())
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
}

void PipeWireSinks::formatKnown(GraphSink& sink, double sampleRate, std::uint32_t channels) {
    if (channels > 0)
        setChannels(sink, channels);
    if (sampleRate > 0)
        setSampleRate(sink, sampleRate);
}

void PipeWireSinks::setChannels(GraphSink& sink, std::uint32_t channels) {
    if (std::exchange(sink.channels, channels) != channels)
        observer_.propertyChanged(sink.objectID, kAudioDevicePropertyStreamConfiguration);
}

void PipeWireSinks::setSampleRate(GraphSink& sink, double sampleRate) {
    const double previous = std::exchange(sink.sampleRate, sampleRate);
    if (previous != 0 && previous != sampleRate)
        observer_.propertyChanged(sink.objectID, kAudioDevicePropertyNominalSampleRate);
}

std::vector<const GraphSink*> PipeWireSinks::described() const {
    return objectsWhere(sinks_, [](const GraphSink& sink) { return sink.isDescribed; });
}

const GraphSink* PipeWireSinks::withObjectID(AudioObjectID objectID) const {
    return objectWhere(sinks_,
                       [&](const GraphSink& sink) { return objectID != 0 && sink.objectID == objectID; });
}

const GraphSink* PipeWireSinks::withNodeID(std::uint32_t nodeID) const {
    return objectWithID(sinks_, nodeID);
}

const GraphSink* PipeWireSinks::named(const std::string& name) const {
    return objectWhere(sinks_, [&](const GraphSink& sink) {
        return sink.isDescribed && !name.empty() && sink.name == name;
    });
}

const GraphSink* PipeWireSinks::ofTarget(const std::string& key, const std::string& value) const {
    const GraphSink* numbered = objectWhere(sinks_, [&](const GraphSink& sink) {
        return sink.isDescribed &&
               (key == kTargetNodeKey ? std::to_string(sink.nodeID) == value : sink.serial == value);
    });
    return numbered != nullptr ? numbered : named(value);
}

} // namespace vello
