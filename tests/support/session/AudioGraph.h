// SPDX-License-Identifier: Apache-2.0
#pragma once

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
        state; ///< "suspended", "idle", "running", "creating", "error"; empty until the server has told it

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

/// One thing that happened in the graph.
struct GraphEvent {
    enum class Kind { nodeAdded, nodeRemoved, metadataChanged };

    std::chrono::steady_clock::time_point time;
    Kind kind;
    std::string subject; ///< node name, or "id key" for metadata
    std::string value;
};

/// What the test knows of the server at one moment.
struct GraphState {
    bool isConnected = false;
    std::map<std::uint32_t, GraphNode> nodes;
    std::map<std::uint32_t, std::map<std::string, std::string>> clients; ///< properties
    std::map<std::uint32_t, GraphLink> links;
    std::map<std::uint32_t, GraphPort> ports;
    /// The metadata object "default": value by (subject, key).
    std::map<std::pair<std::uint32_t, std::string>, std::string> metadata;

    /// Null when there is none; the first of several.
    const GraphNode* nodeNamed(const std::string& name) const;
    std::vector<const GraphNode*> nodesOfClass(const std::string& mediaClass) const;
    bool isLinked(std::uint32_t outputNode, std::uint32_t inputNode) const;
    bool isLinked(const std::string& outputName, const std::string& inputName) const;
    /// The id of a node's port; none when there is no such port.
    std::optional<std::uint32_t> portNamed(const std::string& node, const std::string& port) const;
    /// Node name of the default output; empty when unknown.
    std::string defaultOutput() const;
    /// Empty when unset.
    std::string metadataValue(std::uint32_t subject, const std::string& key) const;
};

/// Everything of a state in words, for the message of a failed test.
std::string describe(const GraphState& state);

/// A client that mirrors what exists on a PipeWire server, and acts on it as a mixer or a settings panel
/// would.
///
/// Has a thread of its own; the methods are for the test's thread. A lost connection is not restored: make
/// another.
class AudioGraph {
public:
    using Predicate = std::function<bool(const GraphState&)>;

    /// Throws std::runtime_error when nobody answers at the socket. Returns when the mirror is complete.
    explicit AudioGraph(const std::string& socket);
    ~AudioGraph();
    AudioGraph(const AudioGraph&) = delete;
    AudioGraph& operator=(const AudioGraph&) = delete;

    GraphState state() const;
    /// Everything since the beginning, in order.
    std::vector<GraphEvent> events() const;
    /// True as soon as the predicate holds, which is tried after every change; false when `timeout` has
    /// passed.
    bool waitUntil(const Predicate& predicate, std::chrono::milliseconds timeout = std::chrono::seconds(5));

    /// A value in the metadata object "default"; an empty value removes the key.
    void setMetadata(std::uint32_t subject, const std::string& key, const std::string& type,
                     const std::string& value);
    /// What a mixer does when the user moves a stream to another device.
    void moveStream(std::uint32_t stream, const std::string& outputName);
    /// What a patchbay does: links an output port to an input port, both "NODE:PORT", as soon as they exist.
    /// The link stays until one of the nodes goes.
    void link(const std::string& outputPort, const std::string& inputPort);
    /// What a settings panel does when the user chooses the default output.
    void chooseDefaultOutput(const std::string& outputName);
    /// A further virtual output, which stays until destroyOutput. Returns once the server shows it.
    void createOutput(const std::string& name, const std::string& description);
    void destroyOutput(const std::string& name);
    /// Forces the rate of the graph, in Hz.
    void forceSampleRate(int sampleRate);
    /// Forces the quantum of the graph, in frames.
    void forceQuantum(int frames);

    class Mirror;

private:
    std::unique_ptr<Mirror> mirror_;
};

} // namespace vello::session
