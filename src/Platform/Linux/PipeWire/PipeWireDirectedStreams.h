// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vello {

class PipeWireGraph;

/// A stream that is directed to a capture, and its own target: the output that the user chose in a mixer, or
/// that the session manager restored.
struct DirectedStream {
    std::string captureName;
    std::optional<MetadataValue> ownTargetObject;
    std::optional<MetadataValue> ownTargetNode;
    /// Number of our own writes of the target node.
    unsigned writes = 0;
};

/// The streams that are directed to captures, and the streams' own targets. The control loop's lock guards
/// all of it.
class PipeWireDirectedStreams {
public:
    explicit PipeWireDirectedStreams(const PipeWireGraph& graph) : graph_(graph) {}

    /// Returns the directed stream. Reads its own target from the metadata when it was not directed before.
    DirectedStream& add(std::uint32_t nodeID);
    /// Absent when the stream is not directed.
    std::optional<DirectedStream> remove(std::uint32_t nodeID);
    void clear() { streams_.clear(); }
    bool isEmpty() const { return streams_.empty(); }
    /// Call when a target of the stream changed in the metadata. Keeps it as the stream's own target; returns
    /// false when it is our own write or changes nothing.
    bool takeTarget(DirectedStream& stream, const std::string& key,
                    const std::optional<MetadataValue>& value) const;

    /// Null when the stream is not directed.
    DirectedStream* find(std::uint32_t nodeID);
    bool contains(std::uint32_t nodeID) const { return streams_.contains(nodeID); }
    bool hasStreamsOf(const std::string& captureName) const;
    std::vector<std::uint32_t> nodeIDs() const;
    /// The device that the stream itself or its user has chosen, whether it is directed or not; null when
    /// it follows the default output.
    const GraphSink* ownTarget(const GraphStream& stream) const;

private:
    bool takeTargetObject(DirectedStream& stream, const std::optional<MetadataValue>& value) const;
    /// Derives the target node from the stream's own target object.
    void followTargetObject(DirectedStream& stream) const;

    const PipeWireGraph& graph_;
    std::map<std::uint32_t, DirectedStream> streams_;
};

} // namespace vello
