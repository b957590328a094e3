// SPDX-License-Identifier: Apache-2.0
#include "VelloTest.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace vello::session {
namespace {

constexpr const char* kCaptureClass = "Audio/Sink/Internal";

/// Outputs created later have two channels.
int channelsOf(const SessionOptions& options, const std::string& output) {
    const auto found = std::ranges::find(options.outputs, output, &VirtualOutput::name);
    return found == options.outputs.end() ? 2 : found->channels;
}

} // namespace

void VelloTest::openSession(SessionOptions options) {
    session_ = std::make_unique<PrivateAudioSession>(std::move(options));
    allowCapture(*session_);
    reconnect();
}

void VelloTest::reconnect() {
    monitors_.clear();
    graph_ = std::make_unique<AudioGraph>(session_->socket());
}

void VelloTest::TearDown() {
    if (HasFailure() && session_ != nullptr) {
        // So that the reported graph is not older than this moment.
        graph_->waitUntil([](const GraphState&) { return false; }, 1s);
        ADD_FAILURE() << "VELLO says:\n"
                      << (vello_ != nullptr ? vello_->output() : "") << "\nthe servers say:\n"
                      << session_->logs() << "\nthe graph:\n"
                      << describe(graph_->state());
    }
}

void VelloTest::startVello(const std::vector<std::string>& launcher) {
    // With the usual limit of open files of a login; VELLO raises it by itself.
    std::vector<std::string> command{"prlimit", "--nofile=1024:"};
    command.insert(command.end(), launcher.begin(), launcher.end());
    command.insert(command.end(), {VELLO_PROGRAM, "--headless"});
    vello_ = session_->start("vello-" + std::to_string(++velloStarts_), command);
}

void VelloTest::stopVello() {
    EXPECT_TRUE(vello_->terminate(5s)) << "VELLO does not end at SIGTERM";
}

ChildProcess& VelloTest::play(const PlayerOptions& options, PlayerKind kind, int seconds) {
    auto& place = players_[options.name];
    place = startPlayer(*session_, kind, options, seconds);
    return *place;
}

void VelloTest::connectByHand(const std::string& player, const std::string& output) {
    for (const std::string channel : {"FL", "FR"})
        graph_->link(player + ":output_" + channel, output + ":playback_" + channel);
    EXPECT_TRUE(graph_->waitUntil([&](const GraphState& state) { return state.isLinked(player, output); }));
}

void VelloTest::endPlayer(const std::string& name) {
    players_.erase(name);
    EXPECT_TRUE(graph_->waitUntil([&](const GraphState& state) { return state.nodeNamed(name) == nullptr; }));
}

void VelloTest::loadModule(const std::string& module, const std::string& arguments) {
    const auto file = session_->folder() / (module + ".conf");
    std::ofstream(file) << "context.properties = { log.level = 2 }\n"
                           "context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert\n"
                           "    support.* = support/libspa-support }\n"
                           "context.modules = [\n"
                           "    { name = libpipewire-module-rt args = { } flags = [ ifexists nofail ] }\n"
                           "    { name = libpipewire-module-protocol-native }\n"
                           "    { name = libpipewire-module-client-node }\n"
                           "    { name = libpipewire-module-adapter }\n"
                           "    { name = libpipewire-module-"
                        << module << " args = {\n"
                        << arguments << " } } ]\n";
    modules_.push_back(session_->start(module, {"pipewire", "-c", file.string()}));
}

MonitorRecorder& VelloTest::monitor(const std::string& output) {
    auto& place = monitors_[output];
    if (place == nullptr)
        place = std::make_unique<MonitorRecorder>(session_->socket(), output, std::chrono::seconds(60), true,
                                                  channelsOf(session_->options(), output));
    return *place;
}

bool VelloTest::awaitWay(const std::string& output, Way way, std::size_t frames,
                         std::chrono::milliseconds timeout) {
    return monitor(output).recordUntil([=](const Recording& last) { return endsWith(last, way, frames); },
                                       frames, timeout);
}

bool VelloTest::awaitTapped(const std::string& player, std::chrono::milliseconds timeout) {
    return graph_->waitUntil([&](const GraphState& state) { return isTapped(state, player); }, timeout);
}

bool VelloTest::awaitSpare() {
    return graph_->waitUntil([](const GraphState& state) {
        return std::ranges::any_of(state.nodes, [&](const auto& spare) {
            return isSpare(spare.second) && std::ranges::any_of(state.links, [&](const auto& link) {
                       return link.second.outputNode == spare.first;
                   });
        });
    });
}

int repetitions(int usual) {
    const char* const wanted = std::getenv("VELLO_REPETITIONS");
    return wanted != nullptr ? std::atoi(wanted) : usual;
}

bool isVellos(const GraphNode& node) {
    return node.name().starts_with(kTapPrefix);
}

bool isSpare(const GraphNode& node) {
    return node.property("node.description").starts_with(kTapPrefix + std::string("spare"));
}

std::vector<std::string> captures(const GraphState& state) {
    std::vector<std::string> result;
    for (const auto& [id, node] : state.nodes)
        if (isVellos(node) && !isSpare(node) && node.mediaClass() == kCaptureClass)
            result.push_back(node.name());
    return result;
}

std::vector<std::string> destinations(const GraphState& state, const std::string& player) {
    std::vector<std::string> result;
    for (const auto& [id, link] : state.links) {
        const auto output = state.nodes.find(link.outputNode);
        const auto input = state.nodes.find(link.inputNode);
        if (output != state.nodes.end() && input != state.nodes.end() && output->second.name() == player)
            result.push_back(input->second.name());
    }
    std::ranges::sort(result);
    const auto repeated = std::ranges::unique(result);
    result.erase(repeated.begin(), repeated.end());
    return result;
}

bool isTapped(const GraphState& state, const std::string& player) {
    const auto places = destinations(state, player);
    return places.size() == 1 && places.front().starts_with(kTapPrefix);
}

bool isTouched(const GraphState& state, const std::string& player) {
    const auto* node = state.nodeNamed(player);
    return node != nullptr && state.metadataValue(node->id, "target.object").starts_with(kTapPrefix);
}

bool isLeftAlone(const GraphState& state, const std::string& player, const std::string& output) {
    return destinations(state, player) == std::vector{output} && !isTouched(state, player);
}

int redirects(const GraphState& state) {
    return static_cast<int>(std::ranges::count_if(
        state.metadata, [](const auto& entry) { return entry.second.starts_with(kTapPrefix); }));
}

int capturesMade(const AudioGraph& graph) {
    const auto events = graph.events();
    return static_cast<int>(std::ranges::count_if(events, [](const GraphEvent& event) {
        return event.kind == GraphEvent::Kind::nodeAdded && event.subject.starts_with(kTapPrefix) &&
               event.value == kCaptureClass;
    }));
}

} // namespace vello::session
