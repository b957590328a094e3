// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "LongEnough.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vello::session {

struct GraphNode {
    std::uint32_t id = 0;
    std::map<std::string, std::string> properties;
    std::string
        state; ///< "suspended", "idle", "running", "creating", "error"; empty until the server has sent it

    /// Empty when absent.
    std::string property(const std::string& key) const;
    std::string name() const { return property("node.name"); }
    std::string mediaClass() const { return property("media.class"); }
};

struct GraphLink {
    std::uint32_t outputNode = 0;
    std::uint32_t inputNode = 0;
};

struct GraphPort {
    std::uint32_t node = 0;
    std::string name;
};

/// One event in the graph.
struct GraphEvent {
    enum class Kind { nodeAdded, nodeRemoved, metadataChanged };

    std::chrono::steady_clock::time_point time;
    Kind kind;
    std::string subject; ///< node name, or "id key" for metadata
    std::string value;
};

/// The test's knowledge of the server at one moment.
struct GraphState {
    bool isConnected = false;
    std::map<std::uint32_t, GraphNode> nodes;
    std::map<std::uint32_t, std::map<std::string, std::string>> clients; ///< properties
    std::map<std::uint32_t, GraphLink> links;
    std::map<std::uint32_t, GraphPort> ports;
    /// The metadata object "default": value by (subject, key).
    std::map<std::pair<std::uint32_t, std::string>, std::string> metadata;

    /// The first node with that name; null when there is none.
    const GraphNode* nodeNamed(const std::string& name) const;
    std::vector<const GraphNode*> nodesOfClass(const std::string& mediaClass) const;
    bool isLinked(std::uint32_t outputNode, std::uint32_t inputNode) const;
    bool isLinked(const std::string& outputName, const std::string& inputName) const;
    /// The ID of a node's port; absent when there is no such port.
    std::optional<std::uint32_t> portNamed(const std::string& node, const std::string& port) const;
    /// Node name of the default output; empty when unknown.
    std::string defaultOutput() const;
    /// Empty when unset.
    std::string metadataValue(std::uint32_t subject, const std::string& key) const;
};

/// The whole state as text, for the message of a failed test.
std::string describe(const GraphState& state);

/// A client that mirrors the objects of a PipeWire server, and changes them as a mixer or a settings panel
/// does.
///
/// Runs its own thread; the functions are for the test's thread. A lost connection is not restored: create
/// another object.
class AudioGraph {
public:
    using Predicate = std::function<bool(const GraphState&)>;

    /// Returns when the mirror is complete. Throws std::runtime_error when the connection fails.
    explicit AudioGraph(const std::string& socket);
    ~AudioGraph();
    AudioGraph(const AudioGraph&) = delete;
    AudioGraph& operator=(const AudioGraph&) = delete;

    GraphState state() const;
    /// All events since the beginning, in order.
    std::vector<GraphEvent> events() const;
    /// Returns true as soon as the predicate holds, which is evaluated after every change; false on timeout.
    bool waitUntil(const Predicate& predicate, std::chrono::milliseconds timeout = kLongEnough);

    /// Sets a value in the metadata object "default"; an empty value removes the key.
    void setMetadata(std::uint32_t subject, const std::string& key, const std::string& type,
                     const std::string& value);
    /// Moves a stream to another device as a mixer does for the user.
    void moveStream(std::uint32_t stream, const std::string& outputName);
    /// Links an output port to an input port, both "NODE:PORT", as soon as they exist, as a patchbay does.
    /// The link stays until one of the nodes is gone.
    void link(const std::string& outputPort, const std::string& inputPort);
    /// Destroys all links from one node to another.
    void unlink(const std::string& outputName, const std::string& inputName);
    /// Chooses the default output as a settings panel does for the user.
    void chooseDefaultOutput(const std::string& outputName);
    /// Creates another virtual output with these channels, which stays until destroyOutput. Returns once the
    /// server lists it.
    void createOutput(const std::string& name, const std::string& description,
                      const std::string& positions = "FL,FR");
    void destroyOutput(const std::string& name);
    /// Takes a node's format and buffers, as a session manager does before it gives it other ports.
    void suspend(const std::string& name);
    /// Forces the rate of the graph, in Hz.
    void forceSampleRate(int sampleRate);
    /// Forces the quantum of the graph, in frames.
    void forceQuantum(int frames);

    class Mirror;

private:
    std::unique_ptr<Mirror> mirror_;
};

} // namespace vello::session
