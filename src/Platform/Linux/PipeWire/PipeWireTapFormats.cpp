// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapFormats.h"

#include "PipeWireGraph.h"
#include "PipeWireStreamRights.h"

#include <algorithm>
#include <iterator>

namespace vello {

namespace {

/// Sample rate in Hz until a device has reported one.
constexpr double kUsualSampleRate = 48000;

} // namespace

std::uint32_t PipeWireTapFormats::channels(const std::vector<AudioObjectID>& processes,
                                           const std::string& outputName) const {
    const GraphSink* output = graph_.sinks().named(outputName);
    if (output != nullptr && output->channels == 1)
        return 1;
    const auto streams = streamsOf(processes);
    const auto isMono = [](const GraphStream* stream) { return stream->channels == 1; };
    return !streams.empty() && std::ranges::all_of(streams, isMono) ? 1 : 2;
}

std::optional<GraphLatency> PipeWireTapFormats::latency(const std::vector<AudioObjectID>& processes) const {
    std::optional<GraphLatency> least;
    for (const GraphStream* stream : streamsOf(processes))
        if (stream->latency && stream->isProducingOutput())
            least = std::min(least.value_or(*stream->latency), *stream->latency);
    return least;
}

bool PipeWireTapFormats::haveStreams(const std::vector<AudioObjectID>& processes) const {
    return !streamsOf(processes).empty();
}

double PipeWireTapFormats::sampleRate(const std::string& outputName) const {
    for (const GraphSink* sink : {graph_.sinks().named(outputName), graph_.defaultSink()})
        if (sink != nullptr && sink->sampleRate > 0)
            return sink->sampleRate;
    return kUsualSampleRate;
}

std::vector<const GraphStream*>
PipeWireTapFormats::streamsOf(const std::vector<AudioObjectID>& processes) const {
    std::vector<const GraphStream*> streams;
    for (const AudioObjectID process : processes)
        if (const GraphClient* client = graph_.clients().process(process))
            std::ranges::copy(rights_.streamsOf(*client), std::back_inserter(streams));
    return streams;
}

} // namespace vello
