// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vello {

class PipeWireGraph;
class PipeWireStreamRights;

/// The format of a tap, which follows from the streams of its processes and from the output device. The
/// control loop's lock guards all of it.
class PipeWireTapFormats {
public:
    PipeWireTapFormats(const PipeWireGraph& graph, const PipeWireStreamRights& rights)
        : graph_(graph), rights_(rights) {}

    /// 1 when the output with this node name has one channel, or all streams of the processes are mono;
    /// otherwise 2. Mixing a stream to two channels and then to one makes it louder than mixing it to one.
    std::uint32_t channels(const std::vector<AudioObjectID>& processes, const std::string& outputName) const;
    /// Whether the processes have a stream, playing or not.
    bool haveStreams(const std::vector<AudioObjectID>& processes) const;
    /// The lowest latency that a playing stream of the processes requests.
    std::optional<GraphLatency> latency(const std::vector<AudioObjectID>& processes) const;
    /// The rate in Hz of the device with this name, else of the default output, else a usual rate.
    double sampleRate(const std::string& outputName) const;

private:
    std::vector<const GraphStream*> streamsOf(const std::vector<AudioObjectID>& processes) const;

    const PipeWireGraph& graph_;
    const PipeWireStreamRights& rights_;
};

} // namespace vello
