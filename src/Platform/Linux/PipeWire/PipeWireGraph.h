// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireClients.h"
#include "PipeWireGraphObserver.h"
#include "PipeWireLinks.h"
#include "PipeWireMetadata.h"
#include "PipeWireSinks.h"
#include "PipeWireStreams.h"

#include <cstdint>
#include <functional>
#include <memory>

struct pw_core;
struct pw_loop;
struct spa_dict;

namespace vello {

class PipeWireBinding;

/// A mirror of the server's registry: sinks, playback streams, their clients, links, and the metadata
/// with the default output and the streams' targets. Its own functions combine several of these parts. The
/// control loop's lock guards all of it.
class PipeWireGraph {
public:
    /// `nextObjectID` returns numbers that are never reused. `loop` is the control loop.
    PipeWireGraph(PipeWireGraphObserver& observer, const std::function<AudioObjectID()>& nextObjectID,
                  pw_loop* loop);
    ~PipeWireGraph();
    PipeWireGraph(const PipeWireGraph&) = delete;
    PipeWireGraph& operator=(const PipeWireGraph&) = delete;

    void attach(pw_core* core);
    /// Drops all objects; all their IDs become invalid.
    void detach();

    const PipeWireSinks& sinks() const { return sinks_; }
    const PipeWireStreams& streams() const { return streams_; }
    const PipeWireClients& clients() const { return clients_; }
    PipeWireClients& clients() { return clients_; }
    const PipeWireLinks& links() const { return links_; }
    const PipeWireMetadata& metadata() const { return metadata_; }
    PipeWireMetadata& metadata() { return metadata_; }

    /// Null while there is no default output or its sink is not known.
    const GraphSink* defaultSink() const { return sinks_.named(metadata_.defaultSinkName()); }
    /// Whether the node is linked to an output device.
    bool isLinkedToSink(std::uint32_t nodeID) const;
    /// Whether the session manager has linked a node that follows the default output to another device.
    bool isLinkedToAnotherThanDefault(std::uint32_t nodeID) const;
    /// Whether `channels` of the node's channels are linked, or all channels of the linked device if it has
    /// fewer.
    bool hasLinksOutOf(std::uint32_t nodeID, std::uint32_t channels) const;

private:
    static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                         std::uint32_t version, const spa_dict* properties);
    static void onGlobalRemove(void* data, std::uint32_t id);

    void globalAdded(std::uint32_t id, const char* type, const spa_dict& properties);
    void nodeAdded(std::uint32_t id, const spa_dict& properties);
    void clientAdded(std::uint32_t id);
    void linkAdded(std::uint32_t id, const spa_dict& properties);
    void globalRemoved(std::uint32_t id);
    void streamRemoved(std::uint32_t id);
    void linkChanged(const GraphLink& link);
    /// Whether a link sends a stream to a place that no known target explains.
    bool contradictsMetadata(const GraphLink& link) const;

    PipeWireGraphObserver& observer_;
    std::unique_ptr<PipeWireBinding> registry_;
    PipeWireMetadata metadata_;
    PipeWireLinks links_;
    PipeWireSinks sinks_;
    PipeWireClients clients_;
    PipeWireStreams streams_;
};

} // namespace vello
