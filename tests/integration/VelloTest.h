// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioGraph.h"
#include "Consent.h"
#include "LongEnough.h"
#include "MonitorRecorder.h"
#include "Passage.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "SignalCode.h"
#include "VelloSettings.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace vello::session {

using namespace std::chrono_literals;

/// VELLO in a private audio session, with players and recorders. Everything that a test has started ends with
/// it. A failed test prints the logs of VELLO and the servers, and the graph.
class VelloTest : public testing::Test {
protected:
    /// Must be called first. The user of the session allows the capture.
    void openSession(SessionOptions options = {});
    void TearDown() override;

    const PrivateAudioSession& session() const { return *session_; }
    PrivateAudioSession& session() { return *session_; }
    AudioGraph& graph() { return *graph_; }
    int quantum() const { return session_->options().quantum; }
    /// Call after the servers were restarted.
    void reconnect();

    /// `launcher` is a command that executes the program given after its arguments, such as env.
    void startVello(const std::vector<std::string>& launcher = {});
    ChildProcess& vello() { return *vello_; }
    /// Requests VELLO to end; the test fails when it does not.
    void stopVello();

    /// `seconds`: for how long, except for the kinds that play for ever.
    ChildProcess& play(const PlayerOptions& options, PlayerKind kind = PlayerKind::native, int seconds = 30);
    /// Links the front channels of a player to those of the output, as a patchbay does.
    void connectByHand(const std::string& player, const std::string& output);
    /// Ends a player and waits until its stream is gone.
    void endPlayer(const std::string& name);
    void endPlayers() { players_.clear(); }

    /// Loads a module of the audio system in a separate client, as users do with a configuration file.
    void loadModule(const std::string& module, const std::string& arguments);

    /// The recorder of an output, created on first use.
    MonitorRecorder& monitor(const std::string& output);
    void forgetMonitors() { monitors_.clear(); }
    /// Waits until the output's sound has taken that way for `frames` frames.
    [[nodiscard]] bool awaitWay(const std::string& output, Way way, std::size_t frames = 8192,
                                std::chrono::milliseconds timeout = kLongEnough);
    /// Waits until every stream of this name is linked only to a capture of VELLO.
    [[nodiscard]] bool awaitTapped(const std::string& player,
                                   std::chrono::milliseconds timeout = kLongEnough);
    /// Waits until VELLO has made the pair of its next tap in advance.
    [[nodiscard]] bool awaitSpare();

private:
    std::unique_ptr<PrivateAudioSession> session_;
    std::unique_ptr<AudioGraph> graph_;
    std::map<std::string, std::unique_ptr<MonitorRecorder>> monitors_;
    std::map<std::string, std::unique_ptr<ChildProcess>> players_;
    std::vector<std::unique_ptr<ChildProcess>> modules_;
    std::unique_ptr<ChildProcess> vello_;
    int velloStarts_ = 0;
};

/// How often a test repeats its action: `usual` times, or VELLO_REPETITIONS times for a measurement.
int repetitions(int usual);
/// Whether the node belongs to VELLO.
bool isVellos(const GraphNode& node);
/// Whether the node belongs to the pair that VELLO makes in advance, and no tap has taken it yet.
bool isSpare(const GraphNode& node);
/// Names of the captures of VELLO's current taps.
std::vector<std::string> captures(const GraphState& state);
/// Names of the nodes that the player's streams are linked to, sorted.
std::vector<std::string> destinations(const GraphState& state, const std::string& player);
bool isTapped(const GraphState& state, const std::string& player);
/// Whether VELLO has written any metadata for the stream.
bool isTouched(const GraphState& state, const std::string& player);
/// Whether the stream plays only on that output and is untouched.
bool isLeftAlone(const GraphState& state, const std::string& player, const std::string& output);
/// Number of streams whose target in the metadata is a capture of VELLO.
int redirects(const GraphState& state);
/// Number of captures that VELLO has made since the graph was first observed, also in advance.
int capturesMade(const AudioGraph& graph);

} // namespace vello::session
