// SPDX-License-Identifier: Apache-2.0
#include "PipeWireProperties.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>

namespace vello {

namespace {

template <class Value> PropertyData dataOf(const Value& value) {
    static_assert(std::is_trivially_copyable_v<Value>);
    PropertyData data(sizeof value);
    std::memcpy(data.data(), &value, sizeof value);
    return data;
}

PropertyData dataOf(const std::string& text) {
    PropertyData data(text.size());
    std::memcpy(data.data(), text.data(), text.size());
    return data;
}

PropertyData dataOf(const std::vector<AudioObjectID>& objects) {
    PropertyData data(objects.size() * sizeof(AudioObjectID));
    if (!data.empty())
        std::memcpy(data.data(), objects.data(), data.size());
    return data;
}

PropertyData oneStream(std::uint32_t channels) {
    AudioBufferListStorage<1> storage;
    storage.buffers[0].mNumberChannels = channels;
    return dataOf(storage);
}

template <class Item> std::vector<AudioObjectID> objectIDs(const std::vector<const Item*>& items) {
    std::vector<AudioObjectID> ids;
    for (const Item* item : items)
        ids.push_back(item->objectID);
    return ids;
}

} // namespace

OSStatus PipeWireProperties::read(AudioObjectID object, FourCharCode selector, PropertyData& data) const {
    Result result;
    if (object == kAudioObjectSystemObject)
        result = ofSystem(selector);
    else if (const GraphSink* sink = graph_.sinks().withObjectID(object))
        result = ofSink(*sink, selector);
    else if (const GraphClient* client = graph_.clients().process(object))
        result = ofProcess(*client, selector);
    else if (const GraphStream* stream = graph_.streams().withObjectID(object))
        result = ofStream(*stream, selector);
    else if (const PipeWireTapDevice* device = taps_.device(object))
        result = ofDevice(*device, selector);
    else if (const auto format = taps_.tapFormat(object))
        result = selector == kAudioTapPropertyFormat ? Result(dataOf(*format)) : std::nullopt;
    else
        return kAudioHardwareBadObjectError;
    if (!result)
        return kAudioHardwareUnknownPropertyError;
    data = std::move(*result);
    return kAudioHardwareNoError;
}

PipeWireProperties::Result PipeWireProperties::ofSystem(FourCharCode selector) const {
    switch (selector) {
    case kAudioHardwarePropertyDevices:
        return dataOf(objectIDs(graph_.sinks().described()));
    case kAudioHardwarePropertyProcessObjectList:
        return dataOf(objectIDs(graph_.clients().processes()));
    case kAudioHardwarePropertyExemptStreamList: {
        auto streams = graph_.streams().all();
        std::erase_if(streams, [&](const GraphStream* stream) {
            return !stream->isDescribed || rights_.exemption(*stream) == StreamExemption::none;
        });
        return dataOf(objectIDs(streams));
    }
    case kAudioHardwarePropertyDefaultOutputDevice: {
        const GraphSink* sink = graph_.defaultSink();
        return dataOf(sink != nullptr ? sink->objectID : kAudioObjectUnknown);
    }
    case kAudioHardwarePropertySpareDevice:
        return dataOf(std::uint32_t{taps_.hasSpare()});
    default:
        return std::nullopt;
    }
}

PipeWireProperties::Result PipeWireProperties::ofSink(const GraphSink& sink, FourCharCode selector) const {
    switch (selector) {
    case kAudioDevicePropertyDeviceUID:
        return dataOf(sink.name);
    case kAudioObjectPropertyName:
        return dataOf(sink.description);
    case kAudioDevicePropertyStreamConfiguration:
        return oneStream(sink.channels);
    case kAudioDevicePropertyNominalSampleRate:
        return sink.sampleRate > 0 ? Result(dataOf(sink.sampleRate)) : std::nullopt;
    case kAudioDevicePropertyTransportType:
        return dataOf(sink.transport);
    case kAudioDevicePropertyDeviceIsAlive:
        return dataOf(std::uint32_t{1});
    default:
        return std::nullopt;
    }
}

PipeWireProperties::Result PipeWireProperties::ofProcess(const GraphClient& client,
                                                         FourCharCode selector) const {
    switch (selector) {
    case kAudioProcessPropertyPID:
        return dataOf(client.processID);
    case kAudioProcessPropertyBundleID:
        return dataOf(client.applicationID);
    case kAudioProcessPropertyDevices:
        return dataOf(devicesOf(client));
    case kAudioProcessPropertyIsRunningOutput:
        return dataOf(std::uint32_t{rights_.isProducingOutput(client)});
    case kAudioProcessPropertyDownmix:
        return dataOf(std::uint32_t{client.downmixes});
    default:
        return std::nullopt;
    }
}

std::vector<AudioObjectID> PipeWireProperties::devicesOf(const GraphClient& client) const {
    std::vector<AudioObjectID> devices;
    for (const GraphStream* stream : rights_.streamsOf(client)) {
        const GraphSink* sink = rights_.destination(*stream);
        if (sink != nullptr && std::ranges::find(devices, sink->objectID) == devices.end())
            devices.push_back(sink->objectID);
    }
    return devices;
}

PipeWireProperties::Result PipeWireProperties::ofStream(const GraphStream& stream,
                                                        FourCharCode selector) const {
    const GraphClient* client = graph_.clients().ownerOf(stream);
    switch (selector) {
    case kAudioStreamPropertyExemption:
        return dataOf(rights_.exemption(stream));
    case kAudioObjectPropertyName:
        return dataOf(stream.name);
    case kAudioProcessPropertyPID:
    case kAudioProcessPropertyBundleID:
        return client != nullptr ? ofProcess(*client, selector) : std::nullopt;
    case kAudioProcessPropertyDevices: {
        const GraphSink* sink = rights_.destination(stream);
        return dataOf(sink != nullptr ? std::vector{sink->objectID} : std::vector<AudioObjectID>{});
    }
    case kAudioProcessPropertyIsRunningOutput:
        return dataOf(std::uint32_t{stream.isProducingOutput()});
    default:
        return std::nullopt;
    }
}

PipeWireProperties::Result PipeWireProperties::ofDevice(const PipeWireTapDevice& device,
                                                        FourCharCode selector) const {
    switch (selector) {
    case kAudioDevicePropertyDeviceUID:
        return dataOf(device.description().uid);
    case kAudioObjectPropertyName:
        return dataOf(device.description().name);
    case kAudioDevicePropertyStreamConfiguration:
        return oneStream(2);
    case kAudioDevicePropertyNominalSampleRate:
        return dataOf(device.sampleRate());
    case kAudioDevicePropertyTransportType:
        return dataOf(fourCharCode("grup"));
    case kAudioDevicePropertyDeviceIsAlive:
        return dataOf(std::uint32_t{device.isAlive()});
    case kAudioDevicePropertyDeviceIsRunning:
        return dataOf(std::uint32_t{device.isConnected()});
    case kAudioDevicePropertyContinuesPredecessor:
        return dataOf(std::uint32_t{device.continuesPredecessor()});
    default:
        return std::nullopt;
    }
}

} // namespace vello
