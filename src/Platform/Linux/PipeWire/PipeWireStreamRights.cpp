// SPDX-License-Identifier: Apache-2.0
// Decides which streams are redirected and which are left untouched.
#include "PipeWireStreamDirector.h"

#include <algorithm>
#include <utility>

namespace vello {

namespace {

/// A device with more channels plays surround streams, which a stereo equalizer would downmix.
constexpr std::uint32_t equalizedChannels = 2;

} // namespace

const GraphSink* PipeWireStreamDirector::destination(const GraphStream& stream) const {
    const GraphSink* own = ownTarget(stream);
    return own != nullptr ? own : graph_.defaultSink();
}

StreamExemption PipeWireStreamDirector::ownExemption(const GraphStream& stream) const {
    if (stream.exemption != StreamExemption::none || stream.channels <= equalizedChannels)
        return stream.exemption;
    const GraphClient* client = graph_.processOfStream(stream);
    if (client != nullptr && client->downmixes)
        return StreamExemption::none;
    const GraphSink* device = destination(stream);
    return device != nullptr && device->channels > equalizedChannels ? StreamExemption::surround
                                                                     : StreamExemption::none;
}

std::vector<const GraphStream*> PipeWireStreamDirector::streamsOf(const GraphClient& client) const {
    auto streams = graph_.streamsOf(client);
    std::erase_if(streams, [&](const GraphStream* stream) {
        return !stream->isDescribed || ownExemption(*stream) != StreamExemption::none;
    });
    std::ranges::stable_partition(
        streams, [](const GraphStream* stream) { return PipeWireGraph::isProducingOutput(*stream); });
    return streams;
}

bool PipeWireStreamDirector::isProducingOutput(const GraphClient& client) const {
    const auto streams = streamsOf(client);
    return !streams.empty() && PipeWireGraph::isProducingOutput(*streams.front());
}

bool PipeWireStreamDirector::isFollowed(const GraphStream& stream, const Capture& capture) const {
    for (const AudioObjectID process : capture.processes)
        if (const GraphClient* client = graph_.process(process))
            if (const auto streams = streamsOf(*client); !streams.empty())
                return streams.front()->nodeID == stream.nodeID;
    return false;
}

const GraphSink* PipeWireStreamDirector::deviceOf(const Capture& capture) const {
    const GraphSink* named = capture.followsDefault ? nullptr : graph_.sinkNamed(capture.output);
    return named != nullptr ? named : graph_.defaultSink();
}

/// An application plays on one device. A stream that chose another device stays there. The application's
/// first stream, however, takes its capture along: it stays in the old capture until there is a new one.
bool PipeWireStreamDirector::isPinnedElsewhere(const GraphStream& stream) const {
    const Capture* capture = captureOfProcess(stream);
    if (capture == nullptr || capture->isOutputChosen)
        return false;
    const GraphSink* own = destination(stream);
    if (own == nullptr || own == deviceOf(*capture))
        return false;
    return !directed_.contains(stream.nodeID) || !isFollowed(stream, *capture);
}

StreamExemption PipeWireStreamDirector::exemption(const GraphStream& stream) const {
    const StreamExemption own = ownExemption(stream);
    if (own != StreamExemption::none)
        return own;
    return isPinnedElsewhere(stream) ? StreamExemption::pinnedElsewhere : StreamExemption::none;
}

const PipeWireStreamDirector::Capture* PipeWireStreamDirector::captureFor(const GraphStream& stream) const {
    return stream.isDescribed && exemption(stream) == StreamExemption::none ? captureOfProcess(stream)
                                                                            : nullptr;
}

void PipeWireStreamDirector::streamRunningChanged(const GraphStream& stream) {
    reconsider();
    announceDevices(stream);
}

void PipeWireStreamDirector::reconsider() {
    for (const GraphStream* stream : graph_.streams())
        reconsider(*stream);
}

void PipeWireStreamDirector::reconsider(const GraphStream& stream) {
    if (!stream.isDescribed)
        return;
    const StreamExemption now = exemption(stream);
    noteExemption(stream, now);
    const Capture* capture = now == StreamExemption::none ? captureOfProcess(stream) : nullptr;
    const auto directed = directed_.find(stream.nodeID);
    if (capture == nullptr) {
        if (directed != directed_.end())
            giveBack(stream.nodeID);
    } else if (directed == directed_.end() || directed->second.captureName != capture->name) {
        direct(stream.nodeID, capture->name);
    }
}

void PipeWireStreamDirector::noteExemption(const GraphStream& stream, StreamExemption now) {
    StreamExemption& told = exemptions_[stream.nodeID];
    if (std::exchange(told, now) == now)
        return;
    propertyChanged_(kAudioObjectSystemObject, kAudioHardwarePropertyExemptStreamList);
    if (const GraphClient* client = graph_.processOfStream(stream))
        propertyChanged_(client->objectID, kAudioProcessPropertyIsRunningOutput);
}

} // namespace vello
