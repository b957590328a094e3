// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace vello {

class PipeWireGraph;

/// Finds and removes the redirects to captures of a run that died, which are still in the metadata. The
/// control loop's lock guards all of it.
class PipeWireStaleRedirects {
public:
    /// `hasCapture` says whether a stream must be directed to a capture of this run.
    PipeWireStaleRedirects(PipeWireGraph& graph, std::function<bool(const GraphStream&)> hasCapture);

    /// Whether the stream is directed to a capture of a run that died.
    bool isStale(const GraphStream& stream) const;
    /// Node IDs of such streams: those with such a target in the metadata, and those of `directed` without
    /// any target in it.
    std::vector<std::uint32_t> streams(const std::vector<std::uint32_t>& directed = {}) const;
    /// Removes all these redirects, as fast as the session manager can move the streams. Call rewriteChoices
    /// after the session manager has processed this.
    void takeBack() { takeBack(streams()); }
    /// Removes the redirects of the streams of these nodes.
    void takeBack(const std::vector<std::uint32_t>& nodeIDs);
    /// Makes the session manager save the users' choices again, which it forgot because of our redirects.
    void rewriteChoices();
    /// Call when the connection is lost, and all streams with it.
    void clear() { choices_.clear(); }

private:
    std::vector<const GraphStream*> streamsOf(const std::vector<std::uint32_t>& nodeIDs) const;
    void keepChoice(const GraphStream& stream);
    /// Whether the stream plays at the right place without any metadata.
    bool needsNoTarget(const GraphStream& stream) const;
    /// Whether this target makes no difference to the stream.
    bool isWhereItGoesAnyway(const GraphStream& stream, const MetadataValue& targetNode) const;

    PipeWireGraph& graph_;
    std::function<bool(const GraphStream&)> hasCapture_;
    /// Target nodes of streams whose redirects were removed.
    std::map<std::uint32_t, MetadataValue> choices_;
};

} // namespace vello
