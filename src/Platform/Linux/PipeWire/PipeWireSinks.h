// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraphObserver.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct pw_registry;
struct spa_dict;

namespace vello {

class PipeWireMetadata;

/// The mirror's output devices. The control loop's lock guards all of it.
class PipeWireSinks {
public:
    /// `metadata` names the default output.
    PipeWireSinks(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                  const PipeWireMetadata& metadata);
    ~PipeWireSinks();
    PipeWireSinks(const PipeWireSinks&) = delete;
    PipeWireSinks& operator=(const PipeWireSinks&) = delete;

    void add(pw_registry* registry, std::uint32_t nodeID, const spa_dict& properties);
    /// False when the node is not a sink.
    bool remove(std::uint32_t nodeID);
    /// Drops everything without a notification.
    void clear();

    /// Described sinks in order of appearance.
    std::vector<const GraphSink*> described() const;
    const GraphSink* withObjectID(AudioObjectID objectID) const;
    /// Described or not.
    const GraphSink* withNodeID(std::uint32_t nodeID) const;
    /// The described sink with this node name; null when there is none, or the name is empty.
    const GraphSink* named(const std::string& name) const;
    /// The described sink that a target refers to: by node name or by serial or node ID in decimal, depending
    /// on the key.
    const GraphSink* ofTarget(const std::string& key, const std::string& value) const;

private:
    struct Entry;

    void propertiesKnown(GraphSink& sink, const spa_dict& properties);
    /// Call when the sink has appeared or vanished.
    void reportListChanged(const GraphSink& sink);
    void formatKnown(GraphSink& sink, double sampleRate, std::uint32_t channels);
    void setChannels(GraphSink& sink, std::uint32_t channels);
    void setSampleRate(GraphSink& sink, double sampleRate);

    PipeWireGraphObserver& observer_;
    std::function<AudioObjectID()> nextObjectID_;
    const PipeWireMetadata& metadata_;
    std::map<std::uint32_t, std::unique_ptr<Entry>> sinks_;
};

} // namespace vello
