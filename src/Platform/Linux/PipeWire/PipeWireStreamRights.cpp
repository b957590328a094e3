// SPDX-License-Identifier: Apache-2.0
#include "PipeWireStreamRights.h"

#include "PipeWireDirectedStreams.h"
#include "PipeWireGraph.h"

#include <algorithm>

namespace vello {

namespace {

/// A device with more channels plays surround streams, which a stereo equalizer would downmix.
constexpr std::uint32_t kEqualizedChannels = 2;

} // namespace

void PipeWireStreamRights::addCapture(PipeWireCapture capture) {
    removeCapture(capture.name);
    captures_.push_back(std::move(capture));
}

void PipeWireStreamRights::removeCapture(const std::string& name) {
    std::erase_if(captures_, [&](const PipeWireCapture& capture) { return capture.name == name; });
}

const GraphSink* PipeWireStreamRights::destination(const GraphStream& stream) const {
    const GraphSink* own = directed_.ownTarget(stream);
    return own != nullptr ? own : graph_.defaultSink();
}

StreamExemption PipeWireStreamRights::ownExemption(const GraphStream& stream) const {
    if (stream.exemption != StreamExemption::none || stream.channels <= kEqualizedChannels)
        return stream.exemption;
    const GraphClient* client = graph_.clients().ownerOf(stream);
    if (client != nullptr && client->downmixes)
        return StreamExemption::none;
    const GraphSink* device = destination(stream);
    return device != nullptr && device->channels > kEqualizedChannels ? StreamExemption::surround
                                                                      : StreamExemption::none;
}

std::vector<const GraphStream*> PipeWireStreamRights::streamsOf(const GraphClient& client) const {
    auto streams = graph_.streams().ofClient(client);
    std::erase_if(streams, [&](const GraphStream* stream) {
        return !stream->isDescribed || ownExemption(*stream) != StreamExemption::none;
    });
    std::ranges::stable_partition(streams,
                                  [](const GraphStream* stream) { return stream->isProducingOutput(); });
    return streams;
}

bool PipeWireStreamRights::isProducingOutput(const GraphClient& client) const {
    const auto streams = streamsOf(client);
    return !streams.empty() && streams.front()->isProducingOutput();
}

StreamExemption PipeWireStreamRights::exemption(const GraphStream& stream) const {
    const StreamExemption own = ownExemption(stream);
    if (own != StreamExemption::none)
        return own;
    return isPinnedElsewhere(stream) ? StreamExemption::pinnedElsewhere : StreamExemption::none;
}

/// An application plays on one device. A stream that chose another device stays there. The application's
/// first stream, however, takes its capture along: it stays in the old capture until there is a new one.
bool PipeWireStreamRights::isPinnedElsewhere(const GraphStream& stream) const {
    const PipeWireCapture* capture = captureOfProcess(stream);
    if (capture == nullptr || capture->isOutputChosen)
        return false;
    const GraphSink* own = destination(stream);
    if (own == nullptr || own == deviceOf(*capture))
        return false;
    return !directed_.contains(stream.nodeID) || !isFollowed(stream, *capture);
}

const GraphSink* PipeWireStreamRights::deviceOf(const PipeWireCapture& capture) const {
    const GraphSink* named = capture.followsDefault ? nullptr : graph_.sinks().named(capture.output);
    return named != nullptr ? named : graph_.defaultSink();
}

bool PipeWireStreamRights::isFollowed(const GraphStream& stream, const PipeWireCapture& capture) const {
    for (const AudioObjectID process : capture.processes)
        if (const GraphClient* client = graph_.clients().process(process))
            if (const auto streams = streamsOf(*client); !streams.empty())
                return streams.front()->nodeID == stream.nodeID;
    return false;
}

const PipeWireCapture* PipeWireStreamRights::captureOfProcess(const GraphStream& stream) const {
    const GraphClient* client = graph_.clients().ownerOf(stream);
    if (client == nullptr)
        return nullptr;
    const auto newest = std::find_if(captures_.rbegin(), captures_.rend(), [&](const auto& capture) {
        return std::ranges::find(capture.processes, client->objectID) != capture.processes.end();
    });
    return newest != captures_.rend() ? &*newest : nullptr;
}

const PipeWireCapture* PipeWireStreamRights::captureFor(const GraphStream& stream) const {
    return stream.isDescribed && exemption(stream) == StreamExemption::none ? captureOfProcess(stream)
                                                                            : nullptr;
}

} // namespace vello
