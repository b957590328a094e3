// SPDX-License-Identifier: Apache-2.0
// The mirror's sinks.
#include "PipeWireGraph.h"

#include "PipeWireGraphEntries.h"

#include <algorithm>
#include <utility>

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

void PipeWireGraph::sinkAdded(std::uint32_t id, const spa_dict& properties) {
    auto entry = std::unique_ptr<SinkEntry>(new SinkEntry{*this, {}, {}});
    entry->sink.nodeID = id;
    entry->sink.serial = propertyText(properties, PW_KEY_OBJECT_SERIAL);
    entry->binding.bind(pw_registry_bind(registry_->binding.as<pw_registry>(), id, PW_TYPE_INTERFACE_Node,
                                         PW_VERSION_NODE, 0));
    SinkEntry& sink = *(sinks_[id] = std::move(entry));
    Callbacks::listenToSink(sink);
}

void PipeWireGraph::sinkDescribed(SinkEntry& entry, const spa_dict& properties) {
    GraphSink& sink = entry.sink;
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
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
        if (sink.name == defaultSinkName_)
            observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
    } else if (sink.description != previousDescription) {
        observer_.propertyChanged(sink.objectID, kAudioObjectPropertyName);
    }
}

void PipeWireGraph::sinkFormatKnown(SinkEntry& entry, double sampleRate, std::uint32_t channels) {
    GraphSink& sink = entry.sink;
    if (channels > 0 && std::exchange(sink.channels, channels) != channels)
        observer_.propertyChanged(sink.objectID, kAudioDevicePropertyStreamConfiguration);
    if (sampleRate <= 0 || sampleRate == sink.sampleRate)
        return;
    const bool isFirst = sink.sampleRate == 0;
    sink.sampleRate = sampleRate;
    if (!isFirst)
        observer_.propertyChanged(sink.objectID, kAudioDevicePropertyNominalSampleRate);
}

void PipeWireGraph::sinkRemoved(std::uint32_t id) {
    const bool wasDefault = sinks_.at(id)->sink.name == defaultSinkName_;
    sinks_.erase(id);
    observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    if (wasDefault)
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
}

std::vector<const GraphSink*> PipeWireGraph::sinks() const {
    std::vector<const GraphSink*> described;
    for (const auto& [id, entry] : sinks_)
        if (entry->sink.isDescribed)
            described.push_back(&entry->sink);
    std::ranges::sort(described, {}, [](const GraphSink* sink) { return sink->objectID; });
    return described;
}

const GraphSink* PipeWireGraph::sink(AudioObjectID objectID) const {
    const auto* entry = findEntry(sinks_, [&](const SinkEntry& candidate) {
        return objectID != 0 && candidate.sink.objectID == objectID;
    });
    return entry != nullptr ? &entry->sink : nullptr;
}

const GraphSink* PipeWireGraph::sinkNamed(const std::string& name) const {
    const auto* entry = findEntry(sinks_, [&](const SinkEntry& candidate) {
        return candidate.sink.isDescribed && !name.empty() && candidate.sink.name == name;
    });
    return entry != nullptr ? &entry->sink : nullptr;
}

const GraphSink* PipeWireGraph::sinkOfTarget(const std::string& key, const std::string& value) const {
    const auto* entry = findEntry(sinks_, [&](const SinkEntry& candidate) {
        const GraphSink& sink = candidate.sink;
        return sink.isDescribed &&
               (key == kTargetNodeKey ? std::to_string(sink.nodeID) == value : sink.serial == value);
    });
    return entry != nullptr ? &entry->sink : sinkNamed(value);
}

const GraphSink* PipeWireGraph::defaultSink() const {
    return sinkNamed(defaultSinkName_);
}

} // namespace vello
