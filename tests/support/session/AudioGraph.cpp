// SPDX-License-Identifier: Apache-2.0
#include "AudioGraph.h"

#include "GraphMirror.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <nlohmann/json.hpp>
#include <pipewire/pipewire.h>

namespace vello::session {

std::string GraphNode::property(const std::string& key) const {
    const auto found = properties.find(key);
    return found == properties.end() ? std::string() : found->second;
}

const GraphNode* GraphState::nodeNamed(const std::string& name) const {
    const auto found =
        std::ranges::find_if(nodes, [&](const auto& entry) { return entry.second.name() == name; });
    return found == nodes.end() || name.empty() ? nullptr : &found->second;
}

std::vector<const GraphNode*> GraphState::nodesOfClass(const std::string& mediaClass) const {
    std::vector<const GraphNode*> result;
    for (const auto& [id, node] : nodes)
        if (node.mediaClass() == mediaClass)
            result.push_back(&node);
    return result;
}

bool GraphState::isLinked(std::uint32_t outputNode, std::uint32_t inputNode) const {
    return std::ranges::any_of(links, [&](const auto& entry) {
        return entry.second.outputNode == outputNode && entry.second.inputNode == inputNode;
    });
}

bool GraphState::isLinked(const std::string& outputName, const std::string& inputName) const {
    const auto* output = nodeNamed(outputName);
    const auto* input = nodeNamed(inputName);
    return output != nullptr && input != nullptr && isLinked(output->id, input->id);
}

std::optional<std::uint32_t> GraphState::portNamed(const std::string& node, const std::string& port) const {
    const auto found = std::ranges::find_if(ports, [&](const auto& entry) {
        const auto owner = nodes.find(entry.second.node);
        return owner != nodes.end() && owner->second.name() == node && entry.second.name == port;
    });
    return found != ports.end() ? std::optional(found->first) : std::nullopt;
}

std::string GraphState::defaultOutput() const {
    const auto value = nlohmann::json::parse(metadataValue(0, "default.audio.sink"), nullptr, false);
    return value.is_object() ? value.value("name", std::string()) : std::string();
}

std::string GraphState::metadataValue(std::uint32_t subject, const std::string& key) const {
    const auto found = metadata.find({subject, key});
    return found == metadata.end() ? std::string() : found->second;
}

std::string describe(const GraphState& state) {
    std::ostringstream text;
    text << (state.isConnected ? "connected\n" : "not connected\n");
    for (const auto& [id, node] : state.nodes)
        text << "node " << id << ' ' << node.name() << " (" << node.mediaClass() << ") " << node.state
             << '\n';
    for (const auto& [id, link] : state.links)
        text << "link " << link.outputNode << " -> " << link.inputNode << '\n';
    for (const auto& [place, value] : state.metadata)
        text << "metadata " << place.first << ' ' << place.second << " = " << value << '\n';
    return text.str();
}

AudioGraph::AudioGraph(const std::string& socket) : mirror_(std::make_unique<Mirror>(socket)) {
    if (!mirror_->awaitComplete(std::chrono::seconds(5)))
        throw std::runtime_error("the server at " + socket + " does not answer");
}

AudioGraph::~AudioGraph() = default;

GraphState AudioGraph::state() const {
    return mirror_->state();
}

std::vector<GraphEvent> AudioGraph::events() const {
    return mirror_->events();
}

bool AudioGraph::waitUntil(const Predicate& predicate, std::chrono::milliseconds timeout) {
    return mirror_->waitUntil(predicate, timeout);
}

void AudioGraph::setMetadata(std::uint32_t subject, const std::string& key, const std::string& type,
                             const std::string& value) {
    mirror_->setMetadata("default", subject, key, type, value);
}

void AudioGraph::moveStream(std::uint32_t stream, const std::string& outputName) {
    const auto known = state();
    const auto* output = known.nodeNamed(outputName);
    if (output == nullptr)
        throw std::runtime_error("no output " + outputName);
    setMetadata(stream, "target.node", "Spa:Id", std::to_string(output->id));
    setMetadata(stream, "target.object", "Spa:Id", output->property("object.serial"));
}

void AudioGraph::link(const std::string& outputPort, const std::string& inputPort) {
    const auto find = [](const GraphState& state, const std::string& port) {
        const auto colon = port.rfind(':');
        return state.portNamed(port.substr(0, colon), port.substr(colon + 1));
    };
    std::optional<std::uint32_t> output;
    std::optional<std::uint32_t> input;
    if (!waitUntil([&](const GraphState& known) {
            output = find(known, outputPort);
            input = find(known, inputPort);
            return output && input;
        }))
        throw std::runtime_error("no ports " + outputPort + " and " + inputPort);
    mirror_->createLink(*output, *input);
}

void AudioGraph::unlink(const std::string& outputName, const std::string& inputName) {
    const auto known = state();
    const auto* output = known.nodeNamed(outputName);
    const auto* input = known.nodeNamed(inputName);
    if (output == nullptr || input == nullptr)
        throw std::runtime_error("no nodes " + outputName + " and " + inputName);
    for (const auto& [id, link] : known.links)
        if (link.outputNode == output->id && link.inputNode == input->id)
            mirror_->destroyObject(id);
    waitUntil([&](const GraphState& later) { return !later.isLinked(outputName, inputName); });
}

void AudioGraph::chooseDefaultOutput(const std::string& outputName) {
    const nlohmann::json value = {{"name", outputName}};
    setMetadata(0, "default.configured.audio.sink", "Spa:String:JSON", value.dump());
}

void AudioGraph::createOutput(const std::string& name, const std::string& description,
                              const std::string& positions) {
    mirror_->createOutput(name, description, positions);
    if (!waitUntil([&](const GraphState& known) { return known.nodeNamed(name) != nullptr; }))
        throw std::runtime_error("the server does not make the output " + name);
}

void AudioGraph::destroyOutput(const std::string& name) {
    const auto known = state();
    const auto* output = known.nodeNamed(name);
    if (output == nullptr)
        throw std::runtime_error("no output " + name);
    mirror_->destroyObject(output->id);
    waitUntil([&](const GraphState& later) { return later.nodeNamed(name) == nullptr; });
}

void AudioGraph::suspend(const std::string& name) {
    const auto known = state();
    const auto* node = known.nodeNamed(name);
    if (node == nullptr)
        throw std::runtime_error("no node " + name);
    mirror_->suspendNode(node->id);
}

void AudioGraph::forceSampleRate(int sampleRate) {
    mirror_->setMetadata("settings", 0, "clock.force-rate", "", std::to_string(sampleRate));
}

void AudioGraph::forceQuantum(int frames) {
    mirror_->setMetadata("settings", 0, "clock.force-quantum", "", std::to_string(frames));
}

} // namespace vello::session
